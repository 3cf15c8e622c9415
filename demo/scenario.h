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
};

std::size_t interfaceCount(const Scenario& scenario);

/// How much there is of everything, for example "5 processes, 6 communicators, 12 interfaces, 9 links, 14 messages".
/// Processes that leave are not counted.
std::string summary(const Scenario& scenario);

} // namespace ZunicDemo

#endif
