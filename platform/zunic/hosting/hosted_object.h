#ifndef ZUNIC_HOSTING_HOSTED_OBJECT_H
#define ZUNIC_HOSTING_HOSTED_OBJECT_H

#include "channel_object/channel_object.h"

#include "zunic_hosting/channel_format.h"
#include "zunic_hosting/hosted_channel.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <sys/types.h>

namespace ZunicHosting {

/// The shared-memory object of a channel, mapped for reading and writing.
class HostedObject
{
public:
    /// Nothing is created or opened yet. Throws std::invalid_argument when no channel can have that name.
    explicit HostedObject(const std::string& channelName);
    ~HostedObject();

    HostedObject(const HostedObject&) = delete;
    HostedObject& operator=(const HostedObject&) = delete;

    /// Either one is to be called once.
    void create(const ChannelOptions& options);
    void attach();

    const std::string& channelName() const { return mChannelName; }
    std::span<std::byte> bytes() const { return mBytes; }

    ZunicFormat::Registry& registry() const;
    oxa_mutex* mutex() const { return reinterpret_cast<oxa_mutex*>(registry().mutex); }
    std::span<ZunicFormat::MessageSlot> slots() const;

    std::span<const ZunicChannelObject::PoolGeometry> pools() const { return mGeometry.pools; }
    oxa_memory_manager* memoryManager(std::size_t index) const;

    /// False for a location outside of every pool.
    bool hasBlock(oxa_zunic_range_location location) const;
    /// The bytes of a block that exists.
    std::byte* block(oxa_zunic_range_location location) const;
    /// False when the block is not in use.
    bool freeBlock(oxa_zunic_range_location location) const;

private:
    void openNew();
    bool removeStale() const;
    bool isStillNamed(int descriptor) const;
    void setAccess(const std::optional<gid_t>& group) const;
    void map(std::uint64_t size);
    void fill(const ChannelOptions& options);

    std::string mChannelName;
    std::string mObjectName;
    /// The lock on the creator's descriptor tells others that the channel is alive.
    int mDescriptor = -1;
    /// The process that created the object and has to remove it; 0 when attached.
    pid_t mCreator = 0;
    std::span<std::byte> mBytes;
    ZunicChannelObject::Geometry mGeometry{};
};

} // namespace ZunicHosting

#endif
