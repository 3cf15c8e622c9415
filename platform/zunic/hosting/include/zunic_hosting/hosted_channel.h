#ifndef ZUNIC_HOSTING_HOSTED_CHANNEL_H
#define ZUNIC_HOSTING_HOSTED_CHANNEL_H

#include "oxa/oxa_zunic_function_storage.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <sys/types.h>
#include <vector>

namespace ZunicHosting {

constexpr std::uint16_t cNoCommunicator = 4096;
constexpr std::uint16_t cInterfaceCapacity = 1024;
constexpr std::uint16_t cCommunicatorCapacity = 1024;
constexpr std::uint32_t cNoDataEntry = 0x7FFFFF;
constexpr std::uint32_t cExternalDataEntry = 0x7FFFFE;
constexpr std::uint32_t cMaximumBlocksPerManager = 2048;
constexpr oxa_zunic_range_location cNoLocation{0xFFFF, 0xFFFF};

enum class InstanceType : std::uint32_t
{
    undefined = 0,
    stub = 1,
    skeleton = 2
};
enum class RegistrationState : std::uint32_t
{
    invalid = 0,
    registered = 1,
    unregistered = 2,
    preregistered = 3
};
enum class SlotState : std::uint16_t
{
    free = 0,
    reserved = 1,
    written = 2,
    message = 3,
    data = 4
};

/// One memory manager: blocks of `blockSize` bytes, `initialBlocks` at first, `additionalBlocks` more whenever they run
/// out, until there are `maximumBlocks` (at most cMaximumBlocksPerManager).
struct MemoryManagerOptions
{
    std::uint32_t blockSize = 256;
    std::uint32_t initialBlocks = 16;
    std::uint32_t additionalBlocks = 8;
    std::uint32_t maximumBlocks = 64;
};

struct ChannelOptions
{
    std::string name = {};
    std::uint32_t messageSlots = 64;
    std::vector<MemoryManagerOptions> memoryManagers = {};
    /// Members of this group may open the channel too; without it the owner alone.
    std::optional<gid_t> group = {};
};

struct InterfaceDescription
{
    std::string interfaceName = {};
    std::string roleName = {};
    std::string domainName = "local";
    InstanceType type = InstanceType::undefined;
    std::array<std::uint16_t, 3> version{};
    RegistrationState state = RegistrationState::registered;
    std::uint16_t communicatorId = cNoCommunicator;
    oxa_zunic_range_location functions = cNoLocation;
    /// The lowest unused id when absent.
    std::optional<std::uint16_t> id = {};
};

/// What one message slot holds; see the fields of the message slots in channel_format.h.
struct SlotDescription
{
    SlotState state = SlotState::free;
    std::uint16_t senderId = 0; // 12 bits
    std::uint16_t writerCounter = 0;
    std::uint32_t dataIndex = cNoDataEntry; // 23 bits
    std::vector<std::uint16_t> receivers = {};
    std::uint32_t userDataSize = 0;
    oxa_zunic_range_location external{};
};

class HostedObject;
class LockedRegistry;

/// A channel as the processes on the bus see it: mapped for reading and writing.
/// Failures throw std::system_error, with the errno value, or std::invalid_argument.
class HostedChannel
{
public:
    /// Creates the channel. EEXIST when one of that name is in use; one whose creator has died is replaced.
    /// The object is removed when the creating HostedChannel is destroyed by the process that created it.
    static HostedChannel create(const ChannelOptions& options);

    /// Attaches to a channel that exists. It stays when this HostedChannel is destroyed.
    /// EAGAIN when its creator has not finished yet, EBADMSG when it is no whole channel.
    static HostedChannel attach(const std::string& name);

    HostedChannel(HostedChannel&& other) noexcept;
    HostedChannel& operator=(HostedChannel&& other) noexcept;
    ~HostedChannel();

    const std::string& name() const;

    /// Takes the registry mutex; it is given back when the LockedRegistry is destroyed.
    LockedRegistry lock();

    /// The whole shared-memory object as mapped, for tests that damage it. Offsets: channel_format.h.
    std::span<std::byte> bytes() const;

    std::byte* registry() const;
    std::byte* messages() const;
    std::uint32_t messageSlots() const;

private:
    friend class LockedRegistry;

    explicit HostedChannel(std::unique_ptr<HostedObject> object);

    std::unique_ptr<HostedObject> mObject;
};

/// Everything that changes a channel, under its registry mutex. Entries are published in crash-safe order: all fields
/// first and the state last; on removal the state first.
/// An argument that fits no field throws std::invalid_argument, an id or a block that is not in use std::system_error
/// with ENOENT; either way nothing is changed.
class LockedRegistry
{
public:
    /// std::system_error, for instance ETIMEDOUT, when the mutex cannot be had. The channel has to outlive the lock.
    explicit LockedRegistry(HostedChannel& channel);
    ~LockedRegistry();

    LockedRegistry(const LockedRegistry&) = delete;
    LockedRegistry& operator=(const LockedRegistry&) = delete;

    /// Returns the communicator's id, `id` or else the lowest unused one.
    /// std::system_error ENOSPC: the table is full; EEXIST: the id is taken.
    std::uint16_t registerCommunicator(std::uint32_t processId, std::optional<std::uint16_t> id = std::nullopt,
                                       RegistrationState state = RegistrationState::registered);

    /// Returns the interface's id. std::system_error ENOSPC: the table is full; EEXIST: the id is taken.
    /// The new interface is in no receiver set, and entries never used before are filled first.
    std::uint16_t registerInterface(const InterfaceDescription& description);
    /// Also frees its function storage and takes it out of every receiver set.
    void unregisterInterface(std::uint16_t interfaceId);

    /// Puts `receiver` into the receiver set of `holder`. The receiver need not be registered.
    void connect(std::uint16_t holder, std::uint16_t receiver);

    /// Takes a block from a memory manager, enlarging it when it is full. ENOSPC when it cannot grow.
    oxa_zunic_range_location allocateBlock(std::uint16_t managerIndex);
    void freeBlock(oxa_zunic_range_location location);

    /// Writes a function storage into a block of the first memory manager that has one large enough.
    oxa_zunic_range_location publishFunctions(const std::vector<std::string>& names);

    /// Writes slot `index` as described, the state last. Does not touch the storage header.
    void writeSlot(std::uint32_t index, const SlotDescription& slot);

    /// Posts `message` with a chain of `dataEntries` data slots (sender: that of the message), all in slots that were
    /// free, and moves the storage header on: its writer counter, incremented, becomes the message's. The message's
    /// data index is that of the chain, if there is one. Its slot is reserved first and `written` when it is complete;
    /// then it becomes `message` unless its state says `written`.
    /// Returns the message's slot. ENOSPC when there are too few free slots.
    std::uint32_t postMessage(SlotDescription message, std::uint32_t dataEntries);

    /// Takes `receiver`, which has read it, out of the receiver set of the message in slot `index`. The last receiver
    /// releases the message. Returns whether it was the last one. ENOENT when it is none of them.
    bool finishReading(std::uint32_t index, std::uint16_t receiver);

    /// Frees a message's slot, its data chain as far as it is whole, and its external block.
    void releaseMessage(std::uint32_t index);

    /// That of the last message posted.
    std::uint16_t writerCounter() const;
    void setStorageHeader(std::uint32_t lastWrittenIndex, std::uint16_t writerCounter);

private:
    HostedObject& mObject;
};

} // namespace ZunicHosting

#endif
