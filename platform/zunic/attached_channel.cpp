#include "attached_channel.h"

#include <cerrno>
#include <sys/mman.h>
#include <unistd.h>

using ZunicFormat::MemoryManagerEntry;
using ZunicFormat::Registry;
using ZunicFormat::Superblock;

namespace {

/// Follows nothing but `block`, which has to be below cOxaMaximumBlocks.
bool isInUse(const oxa_memory_manager_record& record, std::uint32_t block)
{
    const std::uint64_t word = __atomic_load_n(&record.block_map[block / 64], __ATOMIC_ACQUIRE);
    return block < __atomic_load_n(&record.manager.total_blocks, __ATOMIC_RELAXED) && (word >> (block % 64) & 1) != 0;
}

std::size_t pageSize()
{
    return static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

} // namespace

AttachedChannel::~AttachedChannel()
{
    if (mBytes) {
        munmap(mBytes, mSize);
    }
}

int AttachedChannel::attach(const char* channelName)
{
    const auto objectName = ZunicChannelObject::objectName(channelName);
    if (!objectName) {
        return EINVAL;
    }
    // For writing as well: the mutex has to be.
    const int descriptor = ZunicChannelObject::openObject(*objectName);
    if (descriptor < 0) {
        return errno;
    }
    int result = ZunicChannelObject::readGeometry(descriptor, mGeometry);
    if (result == 0) {
        result = map(descriptor);
    }
    close(descriptor);
    return result;
}

int AttachedChannel::map(int descriptor)
{
    // The object is followed by a page that cannot be read: an access that damaged numbers lead past the object's end
    // fails there, instead of reading other memory of the process.
    const auto size = static_cast<std::size_t>(mGeometry.superblock.objectSize);
    const std::size_t guardedSize = size + pageSize();
    void* const bytes = mmap(nullptr, guardedSize, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (bytes == MAP_FAILED) {
        return errno;
    }
    mBytes = static_cast<std::byte*>(bytes);
    mSize = guardedSize;
    if (mmap(mBytes, size, PROT_READ, MAP_SHARED | MAP_FIXED, descriptor, 0) == MAP_FAILED) {
        return errno;
    }

    // The registry will be read while its mutex is held, which is no time for page faults. Messages and pools are read
    // without it, and only in a report.
    const std::uint64_t registry = mGeometry.superblock.registry.offset;
    if (const int result = remap(descriptor, 0, registry + sizeof(Registry), PROT_READ)) {
        return result;
    }
    const std::uint64_t mutex = registry + offsetof(Registry, mutex);
    return remap(descriptor, mutex, mutex + sizeof(Registry::mutex), PROT_READ | PROT_WRITE);
}

/// Maps the pages that hold the bytes from `begin` to `end` once more, present and with `protection`.
int AttachedChannel::remap(int descriptor, std::uint64_t begin, std::uint64_t end, int protection)
{
    const std::uint64_t pageBegin = begin - begin % pageSize();
    void* const mapped = mmap(mBytes + pageBegin, static_cast<std::size_t>(end - pageBegin), protection,
                              MAP_SHARED | MAP_FIXED | MAP_POPULATE, descriptor, static_cast<off_t>(pageBegin));
    return mapped == MAP_FAILED ? errno : 0;
}

bool AttachedChannel::isInitialized() const
{
    const auto* const superblock = reinterpret_cast<const Superblock*>(mBytes);
    return mGeometry.superblock.initialized == 1 && __atomic_load_n(&superblock->initialized, __ATOMIC_ACQUIRE) == 1;
}

MemoryManagerEntry* AttachedChannel::memoryManagers() const
{
    return reinterpret_cast<MemoryManagerEntry*>(mBytes + mGeometry.superblock.memoryManagers.offset);
}

const std::byte* AttachedChannel::findBlock(oxa_zunic_range_location location, std::uint64_t& size) const
{
    if (location.memory_manager_index >= mGeometry.pools.size()) {
        return nullptr;
    }
    const ZunicChannelObject::PoolGeometry& pool = mGeometry.pools[location.memory_manager_index];
    const MemoryManagerEntry& entry = memoryManagers()[location.memory_manager_index];
    if (location.range_index >= pool.maximumBlocks || !isInUse(entry.record, location.range_index)) {
        return nullptr;
    }
    size = pool.blockSize;
    return mBytes + pool.offset + location.range_index * pool.blockSize;
}

const std::vector<std::byte>* AttachedChannel::findCopy(oxa_zunic_range_location location) const
{
    const auto found = mCopies.find({location.memory_manager_index, location.range_index});
    return found == mCopies.end() ? nullptr : &found->second;
}

const std::vector<std::byte>& AttachedChannel::keepCopy(oxa_zunic_range_location location, std::vector<std::byte> copy)
{
    return mCopies[{location.memory_manager_index, location.range_index}] = std::move(copy);
}
