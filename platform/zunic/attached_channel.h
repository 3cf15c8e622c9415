#ifndef ZUNIC_ATTACHED_CHANNEL_H
#define ZUNIC_ATTACHED_CHANNEL_H

#include "channel_object/channel_object.h"

#include "oxa/oxa_zunic_communication_channel.h"
#include "oxa/oxa_zunic_function_storage.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <utility>
#include <vector>

/// A channel's object mapped into this process, and the private copies made from it.
class AttachedChannel
{
public:
    AttachedChannel() = default;
    ~AttachedChannel();

    AttachedChannel(const AttachedChannel&) = delete;
    AttachedChannel& operator=(const AttachedChannel&) = delete;

    /// 0, or an errno value. To be called once.
    int attach(const char* channelName);

    bool isInitialized() const;
    std::byte* registry() const { return mBytes + mGeometry.superblock.registry.offset; }
    std::byte* messages() const { return mBytes + mGeometry.superblock.messages.offset; }
    ZunicFormat::MemoryManagerEntry* memoryManagers() const;
    std::uint32_t memoryManagerCount() const { return mGeometry.superblock.memoryManagerCount; }

    /// The block at `location`, `size` bytes: null when there is no such block or it is not in use.
    const std::byte* findBlock(oxa_zunic_range_location location, std::uint64_t& size) const;

    /// The copy that is kept of the block at `location`; null when there is none.
    const std::vector<std::byte>* findCopy(oxa_zunic_range_location location) const;
    /// Keeps the only copy of that block as long as this object lives, and returns it.
    const std::vector<std::byte>& keepCopy(oxa_zunic_range_location location, std::vector<std::byte> copy);

private:
    int map(int descriptor);
    int remap(int descriptor, std::uint64_t begin, std::uint64_t end, int protection);

    ZunicChannelObject::Geometry mGeometry{};
    std::byte* mBytes = nullptr;
    std::size_t mSize = 0;
    std::map<std::pair<std::uint16_t, std::uint16_t>, std::vector<std::byte>> mCopies; ///< by location
};

struct oxa_zunic_memory_dispatcher_struct
{
    std::uint32_t memory_manager_count;
    std::uint32_t unused1;
    ZunicFormat::MemoryManagerEntry* memory_managers;
    AttachedChannel* channel;
    std::uint64_t unused2;
};

static_assert(offsetof(oxa_zunic_memory_dispatcher_struct, memory_managers) == 8);
static_assert(sizeof(oxa_zunic_memory_dispatcher_struct) == 32);

struct oxa_zunic_communication_channel
{
    AttachedChannel* attached;
    std::uint8_t unused[544];
    oxa_zunic_memory_dispatcher_struct memory_dispatcher;
    std::byte* registry;
    std::byte* messages;
};

static_assert(offsetof(oxa_zunic_communication_channel, memory_dispatcher) == 552);
static_assert(offsetof(oxa_zunic_communication_channel, registry) == 584);
static_assert(offsetof(oxa_zunic_communication_channel, messages) == 592);

#endif
