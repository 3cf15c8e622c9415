#ifndef ZUNIC_DEMO_SCENARIO_H
#define ZUNIC_DEMO_SCENARIO_H

#include "zunic_hosting/hosted_channel.h"

#include <array>
#include <bitset>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace ZunicDemo {

// What a demo bus holds, with every copy written out, every id settled and every reference resolved.

using InterfaceSet = std::bitset<ZunicHosting::cInterfaceCapacity>;

/// The members of `set` in ascending order.
std::vector<std::uint16_t> idsOf(const InterfaceSet& set);

struct InterfaceEntry
{
    std::uint16_t id = 0;
    std::string name;
    std::string role;
    std::string domain;
    ZunicHosting::InstanceType type = ZunicHosting::InstanceType::undefined;
    std::array<std::uint16_t, 3> version{};
    ZunicHosting::RegistrationState state = ZunicHosting::RegistrationState::registered;
    std::vector<std::string> functions;
};

struct CommunicatorEntry
{
    std::uint16_t id = 0;
    ZunicHosting::RegistrationState state = ZunicHosting::RegistrationState::registered;
    std::vector<InterfaceEntry> interfaces;
};

struct ProcessEntry
{
    /// The name of its executable.
    std::string name;
    /// It ends once it has registered, and its entries stay behind.
    bool leaves = false;
    std::vector<CommunicatorEntry> communicators;
};

/// What the last data entry of a message points to; the message itself when it has no data entries.
enum class ChainEnd
{
    none,    ///< nothing, as it should be
    outside, ///< a slot beyond the last one
    message, ///< the message, which is not a data entry
    loop     ///< the first data entry
};

struct MessageEntry
{
    ZunicHosting::SlotState state = ZunicHosting::SlotState::free;
    std::uint16_t sender = 0;
    InterfaceSet receivers;
    std::uint32_t userDataSize = 0;
    std::uint16_t writerCounter = 0;
    std::uint32_t dataEntries = 0;
    ChainEnd chainEnd = ChainEnd::none;
    /// The memory manager that the block of its external data entry comes from.
    std::optional<std::uint16_t> external;
};

struct BlocksEntry
{
    std::uint16_t memoryManager = 0;
    std::uint32_t count = 1;
};

/// Times of traffic are in nanoseconds; this one does not come.
constexpr std::uint64_t cNever = UINT64_MAX;
constexpr std::uint16_t cNoMemoryManager = UINT16_MAX;

/// An interface that reads the messages of a flow, one after another.
struct FlowReceiver
{
    std::uint16_t interface = 0;
    /// Whose interface it is: a position among the processes that stay, from 0.
    std::uint32_t process = 0;
    /// For each message.
    std::uint64_t readingTime = 0;
    /// It stops this long after it began to read.
    std::uint64_t stopsAfter = cNever;
    /// It begins again this long after a message found no room.
    std::uint64_t resumesAfter = cNever;
};

/// Messages that one interface keeps sending.
struct FlowEntry
{
    std::uint16_t sender = 0;
    /// As that of a receiver.
    std::uint32_t process = 0;
    std::vector<FlowReceiver> receivers;
    /// Messages sent at once, and the time from one such burst to the next.
    std::uint64_t burst = 1;
    std::uint64_t period = 0;
    /// It ends after that many messages, whether there was room for them or not.
    std::uint64_t limit = cNever;
    std::uint32_t userDataSize = 0;
    std::uint32_t dataEntries = 0;
    /// The memory manager that the blocks of its external data entries come from.
    std::uint16_t external = cNoMemoryManager;
};

struct Scenario
{
    std::string channel;
    std::uint32_t messageSlots = 0;
    std::vector<ZunicHosting::MemoryManagerOptions> memoryManagers;
    std::vector<ProcessEntry> processes;
    /// Receivers by holder.
    std::map<std::uint16_t, InterfaceSet> links;
    std::vector<MessageEntry> messages;
    std::vector<BlocksEntry> blocks;
    std::vector<FlowEntry> traffic;
};

std::size_t interfaceCount(const Scenario& scenario);

/// How much there is of everything, for example "5 processes, 6 communicators, 12 interfaces, 9 links, 14 messages",
/// and the flows, if there are some. Processes that leave are not counted.
std::string summary(const Scenario& scenario);

} // namespace ZunicDemo

#endif
