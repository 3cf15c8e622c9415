#include "full_channel.h"

#include <numeric>
#include <unistd.h>

namespace Bench {

using namespace ZunicHosting;

namespace {

/// As long as names become when every package and layer of a large system adds a word.
std::string longName(const std::string& what, std::uint16_t id)
{
    return "Vehicle.Platform.Zone" + std::to_string(id) + "." + what +
           "AsLongAsTheyBecomeWhenEveryPackageAndEveryLayerOfALargeSystemAddsAWordOfItsOwn";
}

void registerInterface(LockedRegistry& registry, std::uint16_t id)
{
    const bool isSkeleton = id % 2 == 0;
    registry.registerInterface(
        {.interfaceName = interfaceName(id),
         .roleName = longName("TheRoleOfAnInterface", id),
         .type = isSkeleton ? InstanceType::skeleton : InstanceType::stub,
         .version = {12, 34, 567},
         .communicatorId = id,
         .functions = isSkeleton ? registry.publishFunctions({"initialize", "subscribe", "unsubscribe", "shutdown"})
                                 : cNoLocation,
         .id = id});
}

void connect(LockedRegistry& registry, std::uint16_t linksPerInterface)
{
    for (std::uint16_t holder = 0; holder < cInterfaceCapacity; ++holder) {
        for (std::uint16_t i = 1; i <= linksPerInterface; ++i) {
            registry.connect(holder, static_cast<std::uint16_t>((holder + i) % cInterfaceCapacity));
        }
    }
}

/// The slots from `first` on: messages with and without chain, external data and receivers, and all other states.
void writeSixteenSlots(LockedRegistry& registry, std::uint32_t first, Slots slots)
{
    const auto sender = static_cast<std::uint16_t>(1 + first / 16 % 1023);
    std::vector<std::uint16_t> receivers(40);
    std::iota(receivers.begin(), receivers.end(), static_cast<std::uint16_t>(first / 16 % 984));

    const auto write = [&](std::uint32_t slot, SlotDescription description) {
        description.senderId = sender;
        registry.writeSlot(first + slot, description);
    };
    const auto writeData = [&](std::uint32_t slot, std::uint32_t next) {
        write(slot, {.state = SlotState::data, .dataIndex = next});
    };
    write(0, {.state = SlotState::message, .dataIndex = first + 1, .receivers = receivers, .userDataSize = 512});
    writeData(1, first + 2);
    writeData(2, cNoDataEntry);
    write(3, {.state = SlotState::written, .dataIndex = first + 4, .receivers = receivers, .userDataSize = 768});
    writeData(4, first + 5);
    writeData(5, first + 6);
    writeData(6, cNoDataEntry);
    write(7, {.state = SlotState::reserved});
    writeData(8, cNoDataEntry);
    write(10,
          {.state = SlotState::message, .dataIndex = cExternalDataEntry, .receivers = receivers, .external = {2, 7}});
    write(11, {.state = SlotState::message});
    write(12, {.state = SlotState::message, .dataIndex = first + 13, .receivers = receivers});
    writeData(13, cNoDataEntry);
    write(14, {.state = SlotState::message, .receivers = {1, 20, 300}});
    if (slots == Slots::eAllInUse) {
        write(9, {.state = SlotState::message, .receivers = {2}});
        write(15, {.state = SlotState::reserved});
    }
}

} // namespace

std::string interfaceName(std::uint16_t id)
{
    return longName("AnInterfaceName", id);
}

HostedChannel hostFullChannel(std::uint16_t linksPerInterface, std::uint32_t messageSlots, Slots slots)
{
    static int channels = 0;
    HostedChannel channel = HostedChannel::create({
        .name = "bench" + std::to_string(getpid()) + "." + std::to_string(++channels),
        .messageSlots = messageSlots,
        .memoryManagers = {{.blockSize = 256, .initialBlocks = 512, .maximumBlocks = 1024}, {}, {.blockSize = 4096}},
    });
    LockedRegistry registry = channel.lock();
    for (std::uint16_t id = 0; id < cInterfaceCapacity; ++id) {
        registry.registerCommunicator(static_cast<std::uint32_t>(getpid()), id);
        registerInterface(registry, id);
    }
    connect(registry, linksPerInterface);
    for (std::uint32_t first = 0; first + 16 <= messageSlots; first += 16) {
        writeSixteenSlots(registry, first, slots);
    }
    return channel;
}

} // namespace Bench
