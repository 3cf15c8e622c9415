#include "hosted_object.h"
#include "failures.h"

#include <cstring>
#include <sys/mman.h>
#include <unistd.h>

using ZunicFormat::MemoryManagerEntry;
using ZunicFormat::MessageSlot;
using ZunicFormat::Registry;

namespace ZunicHosting {

HostedObject::HostedObject(const std::string& channelName) : mChannelName(channelName)
{
    const auto objectName = ZunicChannelObject::objectName(channelName);
    require(objectName.has_value(), "no possible channel name: '" + channelName + "'");
    mObjectName = *objectName;
}

HostedObject::~HostedObject()
{
    // A forked child has a copy of this object, but the channel is not its to remove.
    if (mCreator == getpid()) {
        shm_unlink(mObjectName.c_str());
    }
    if (!mBytes.empty()) {
        munmap(mBytes.data(), mBytes.size());
    }
    if (mDescriptor >= 0) {
        close(mDescriptor);
    }
}

void HostedObject::attach()
{
    mDescriptor = ZunicChannelObject::openObject(mObjectName);
    if (mDescriptor < 0) {
        fail(errno, "cannot open channel '" + mChannelName + "'");
    }
    if (const int error = ZunicChannelObject::readGeometry(mDescriptor, mGeometry)) {
        fail(error, "cannot attach to '" + mChannelName + "'");
    }
    map(mGeometry.superblock.objectSize);
    if (mGeometry.superblock.initialized != 1) {
        fail(EAGAIN, "channel '" + mChannelName + "' is not ready");
    }
}

void HostedObject::map(std::uint64_t size)
{
    void* const bytes = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, mDescriptor, 0);
    if (bytes == MAP_FAILED) {
        fail(errno, "cannot map channel '" + mChannelName + "'");
    }
    mBytes = {static_cast<std::byte*>(bytes), size};
}

Registry& HostedObject::registry() const
{
    return *reinterpret_cast<Registry*>(mBytes.data() + mGeometry.superblock.registry.offset);
}

std::span<MessageSlot> HostedObject::slots() const
{
    const ZunicFormat::Area& area = mGeometry.superblock.messages;
    return {reinterpret_cast<MessageSlot*>(mBytes.data() + area.offset), area.size / sizeof(MessageSlot)};
}

oxa_memory_manager* HostedObject::memoryManager(std::size_t index) const
{
    std::byte* const entries = mBytes.data() + mGeometry.superblock.memoryManagers.offset;
    return &reinterpret_cast<MemoryManagerEntry*>(entries)[index].record.manager;
}

bool HostedObject::hasBlock(oxa_zunic_range_location location) const
{
    return location.memory_manager_index < mGeometry.pools.size() &&
           location.range_index < mGeometry.pools[location.memory_manager_index].maximumBlocks;
}

std::byte* HostedObject::block(oxa_zunic_range_location location) const
{
    const ZunicChannelObject::PoolGeometry& pool = mGeometry.pools[location.memory_manager_index];
    return mBytes.data() + pool.offset + location.range_index * pool.blockSize;
}

bool HostedObject::freeBlock(oxa_zunic_range_location location) const
{
    return hasBlock(location) &&
           oxa_memory_manager_free(memoryManager(location.memory_manager_index), location.range_index) == 0;
}

} // namespace ZunicHosting
