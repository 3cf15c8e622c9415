#include "channel_object/channel_object.h"

#include <atomic>
#include <cerrno>
#include <climits>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ZunicChannelObject {
namespace {

constexpr std::string_view cObjectPrefix = "/zunic.";

/// 0, or EBADMSG when the object ends before the record does.
template <typename Record>
int readRecord(int descriptor, std::uint64_t offset, Record& record)
{
    const ssize_t count = pread(descriptor, &record, sizeof(record), static_cast<off_t>(offset));
    if (count < 0) {
        return errno;
    }
    return static_cast<std::size_t>(count) == sizeof(record) ? 0 : EBADMSG;
}

/// Reading a hole of a tmpfs through a mapping fills it: gigabytes of nothing would become gigabytes of memory.
bool hasHoles(const struct stat& status)
{
    constexpr off_t cBytesPerBlock = 512; // whatever the file system's own blocks are
    return status.st_blocks < (status.st_size + cBytesPerBlock - 1) / cBytesPerBlock;
}

int readSuperblock(int descriptor, ZunicFormat::Superblock& superblock)
{
    struct stat status = {};
    if (fstat(descriptor, &status) != 0) {
        return errno;
    }
    if (!S_ISREG(status.st_mode) || hasHoles(status)) {
        return EBADMSG;
    }
    // What is read after the host's last store is complete; what was read before may not be.
    std::uint32_t initialized = 0;
    if (const int result = readRecord(descriptor, offsetof(ZunicFormat::Superblock, initialized), initialized)) {
        return result;
    }
    std::atomic_thread_fence(std::memory_order_acquire);
    if (const int result = readRecord(descriptor, 0, superblock)) {
        return result;
    }
    superblock.initialized = initialized;
    return isPlausible(superblock, static_cast<std::uint64_t>(status.st_size)) ? 0 : EBADMSG;
}

/// In another namespace, the thread ids in the mutex are somebody else's or nobody's: locking it could end in either
/// side's taking the other for dead.
int checkPidNamespace(const ZunicFormat::Superblock& superblock)
{
    ZunicFormat::PidNamespace own{};
    if (const int result = readPidNamespace(own)) {
        return result;
    }
    return superblock.pidNamespace == own ? 0 : EREMOTE;
}

int checkMessageSlots(int descriptor, const ZunicFormat::Superblock& superblock)
{
    ZunicFormat::MessageStorage storage;
    const std::uint64_t offset = superblock.registry.offset + offsetof(ZunicFormat::Registry, messageStorage);
    if (const int result = readRecord(descriptor, offset, storage)) {
        return result;
    }
    return storage.storageSize <= superblock.messages.size / sizeof(ZunicFormat::MessageSlot) ? 0 : EBADMSG;
}

int readPool(int descriptor, const ZunicFormat::Superblock& superblock, std::uint32_t index, PoolGeometry& pool)
{
    ZunicFormat::MemoryManagerEntry entry;
    if (const int result =
            readRecord(descriptor, superblock.memoryManagers.offset + std::uint64_t{index} * sizeof(entry), entry)) {
        return result;
    }
    pool = {entry.poolOffset, entry.record.manager.block_size, entry.record.manager.maximum_blocks};
    const bool isPossible = pool.blockSize >= 1 && pool.blockSize <= UINT64_MAX / cOxaMaximumBlocks &&
                            pool.maximumBlocks <= cOxaMaximumBlocks &&
                            contains(superblock.pools, pool.offset, pool.blockSize * pool.maximumBlocks);
    return isPossible ? 0 : EBADMSG;
}

} // namespace

std::optional<std::string> objectName(std::string_view channel)
{
    // The slash in front is no part of the file's name.
    constexpr std::size_t cLongest = NAME_MAX - (cObjectPrefix.size() - 1);
    if (channel.empty() || channel.size() > cLongest ||
        channel.find_first_of(std::string_view("/\0", 2)) != channel.npos) {
        return std::nullopt;
    }
    return std::string(cObjectPrefix).append(channel);
}

int openObject(const std::string& objectName)
{
    return shm_open(objectName.c_str(), O_RDWR | O_NONBLOCK, 0);
}

int readPidNamespace(ZunicFormat::PidNamespace& pidNamespace)
{
    struct stat status = {};
    if (stat("/proc/self/ns/pid", &status) != 0) {
        return errno;
    }
    pidNamespace = {status.st_dev, status.st_ino};
    return 0;
}

int readGeometry(int descriptor, Geometry& geometry)
{
    if (const int result = readSuperblock(descriptor, geometry.superblock)) {
        return result;
    }
    if (const int result = checkPidNamespace(geometry.superblock)) {
        return result;
    }
    if (const int result = checkMessageSlots(descriptor, geometry.superblock)) {
        return result;
    }
    geometry.pools.resize(geometry.superblock.memoryManagerCount);
    std::uint64_t end = 0; // Pools that shared bytes could stand for any number of copies of one block.
    for (std::uint32_t index = 0; index < geometry.superblock.memoryManagerCount; ++index) {
        if (const int result = readPool(descriptor, geometry.superblock, index, geometry.pools[index])) {
            return result;
        }
        const PoolGeometry& pool = geometry.pools[index];
        if (pool.offset < end) {
            return EBADMSG;
        }
        end = pool.offset + pool.blockSize * pool.maximumBlocks;
    }
    return 0;
}

} // namespace ZunicChannelObject
