#include "failures.h"
#include "hosted_object.h"
#include "publishing.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

using ZunicFormat::Area;
using ZunicFormat::MemoryManagerEntry;
using ZunicFormat::MessageSlot;
using ZunicFormat::Registry;
using ZunicFormat::Superblock;

namespace ZunicHosting {
namespace {

/// cNoLocation names no memory manager.
constexpr std::size_t cMaximumMemoryManagers = cNoLocation.memory_manager_index;

/// Areas begin on pages of their own, so that the pages of the registry hold nothing else.
Area placeBehind(const Area& previous, std::uint64_t size)
{
    constexpr std::uint64_t cPageSize = 4096;
    const std::uint64_t end = previous.offset + previous.size;
    return {(end + cPageSize - 1) / cPageSize * cPageSize, size};
}

std::uint64_t poolSize(const MemoryManagerOptions& options)
{
    return std::uint64_t{options.blockSize} * options.maximumBlocks;
}

std::uint64_t sizeOfAllPools(const std::vector<MemoryManagerOptions>& managers)
{
    std::uint64_t size = 0;
    for (const MemoryManagerOptions& manager : managers) {
        size += poolSize(manager);
    }
    return size;
}

Superblock planSuperblock(const ChannelOptions& options)
{
    Superblock plan{};
    plan.magic = ZunicFormat::cMagic;
    plan.version = ZunicFormat::cVersion;
    plan.hostProcessId = static_cast<std::uint32_t>(getpid());
    plan.memoryManagerCount = static_cast<std::uint32_t>(options.memoryManagers.size());
    plan.registry = {ZunicFormat::cSuperblockSize, sizeof(Registry)};
    plan.messages = placeBehind(plan.registry, std::uint64_t{options.messageSlots} * sizeof(MessageSlot));
    plan.memoryManagers = placeBehind(plan.messages, plan.memoryManagerCount * sizeof(MemoryManagerEntry));
    plan.pools = placeBehind(plan.memoryManagers, sizeOfAllPools(options.memoryManagers));
    plan.objectSize = plan.pools.offset + plan.pools.size;
    return plan;
}

void checkOptions(const ChannelOptions& options)
{
    require(options.messageSlots <= cExternalDataEntry, "a channel cannot have that many message slots");
    require(options.memoryManagers.size() <= cMaximumMemoryManagers, "a channel cannot have that many memory managers");
    for (const MemoryManagerOptions& manager : options.memoryManagers) {
        require(manager.blockSize >= 1, "a memory manager's blocks cannot be empty");
        require(manager.initialBlocks <= manager.maximumBlocks, "a memory manager has more blocks than its maximum");
        require(manager.maximumBlocks <= cMaximumBlocksPerManager, "a memory manager cannot have that many blocks");
    }
}

/// Reserves the memory now: a full file system is an error here, and would be a fault at some later store.
int allocate(int descriptor, std::uint64_t size)
{
    int result = 0;
    do {
        result = posix_fallocate(descriptor, 0, static_cast<off_t>(size));
    } while (result == EINTR);
    return result;
}

} // namespace

void HostedObject::create(const ChannelOptions& options)
{
    checkOptions(options);
    openNew();
    mGeometry.superblock = planSuperblock(options);
    if (const int error = ZunicChannelObject::readPidNamespace(mGeometry.superblock.pidNamespace)) {
        fail(error, "cannot read /proc/self/ns/pid for channel '" + mChannelName + "'");
    }
    setAccess(options.group);
    if (const int error = allocate(mDescriptor, mGeometry.superblock.objectSize)) {
        fail(error, "cannot allocate " + std::to_string(mGeometry.superblock.objectSize) +
                        " bytes of /dev/shm for channel '" + mChannelName + "'");
    }
    map(mGeometry.superblock.objectSize);
    fill(options);
}

/// Another creator can open a new object before its own creator has locked it, and takes it for a stale one then. So
/// the holder of the lock checks whether the object still has its name, and starts over if it does not.
void HostedObject::openNew()
{
    while (mCreator == 0) {
        mDescriptor = shm_open(mObjectName.c_str(), O_RDWR | O_CREAT | O_EXCL, S_IRUSR | S_IWUSR);
        if (mDescriptor < 0) {
            if (errno != EEXIST || !removeStale()) {
                fail(errno, "cannot create channel '" + mChannelName + "'");
            }
        } else if (flock(mDescriptor, LOCK_EX | LOCK_NB) == 0 && isStillNamed(mDescriptor)) {
            mCreator = getpid();
        } else {
            close(mDescriptor);
            mDescriptor = -1;
        }
    }
}

/// Removes an object that nobody hosts, or finds it gone: true. False with errno EEXIST when it is hosted.
bool HostedObject::removeStale() const
{
    const int descriptor = ZunicChannelObject::openObject(mObjectName);
    if (descriptor < 0) {
        return errno == ENOENT;
    }
    const bool isHosted = flock(descriptor, LOCK_EX | LOCK_NB) != 0;
    if (!isHosted && isStillNamed(descriptor)) {
        shm_unlink(mObjectName.c_str());
    }
    close(descriptor);
    errno = EEXIST;
    return !isHosted;
}

bool HostedObject::isStillNamed(int descriptor) const
{
    struct stat status = {};
    return fstat(descriptor, &status) == 0 && status.st_nlink > 0;
}

void HostedObject::setAccess(const std::optional<gid_t>& group) const
{
    constexpr mode_t cOwnerOnly = S_IRUSR | S_IWUSR;
    constexpr mode_t cGroupToo = cOwnerOnly | S_IRGRP | S_IWGRP;
    if (group && fchown(mDescriptor, static_cast<uid_t>(-1), *group) != 0) {
        fail(errno, "cannot give channel '" + mChannelName + "' to its group");
    }
    // The umask had its say in what shm_open made.
    if (fchmod(mDescriptor, group ? cGroupToo : cOwnerOnly) != 0) {
        fail(errno, "cannot set the access to channel '" + mChannelName + "'");
    }
}

/// The memory is all zero so far. What attaching processes check comes last.
void HostedObject::fill(const ChannelOptions& options)
{
    Superblock& plan = mGeometry.superblock;
    for (ZunicFormat::CommunicatorEntry& entry : registry().communicators) {
        entry.communicatorId = ZunicFormat::cFreeCommunicatorId;
    }
    if (const int error = oxa_mutex_initialize(mutex())) {
        fail(error, "cannot make the registry mutex");
    }
    registry().messageStorage.storageSize = options.messageSlots;

    auto* const entries = reinterpret_cast<MemoryManagerEntry*>(mBytes.data() + plan.memoryManagers.offset);
    std::uint64_t offset = plan.pools.offset;
    for (std::size_t i = 0; i < options.memoryManagers.size(); ++i) {
        const MemoryManagerOptions& manager = options.memoryManagers[i];
        entries[i].poolOffset = offset;
        oxa_memory_manager_initialize(&entries[i].record, manager.blockSize, manager.initialBlocks,
                                      manager.additionalBlocks, manager.maximumBlocks);
        mGeometry.pools.push_back({offset, manager.blockSize, manager.maximumBlocks});
        offset += poolSize(manager);
    }

    auto& superblock = *reinterpret_cast<Superblock*>(mBytes.data());
    superblock = plan;
    publish(superblock.initialized, 1);
}

} // namespace ZunicHosting
