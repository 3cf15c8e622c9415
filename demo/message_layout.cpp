#include "message_layout.h"

namespace ZunicDemo {

namespace {

using ZunicHosting::cExternalDataEntry;
using ZunicHosting::cNoDataEntry;
using ZunicHosting::SlotState;

/// Where the chain of the message in slot `index` leads behind its last data entry.
std::uint32_t chainEndIndex(const MessageEntry& entry, std::uint32_t index, std::uint32_t messageSlots)
{
    switch (entry.chainEnd) {
    case ChainEnd::none:
        return cNoDataEntry;
    case ChainEnd::outside:
        return messageSlots;
    case ChainEnd::message:
        return index;
    case ChainEnd::loop:
        return index + 1;
    }
    return cNoDataEntry;
}

PlacedSlot placeMessage(const MessageEntry& entry, std::uint32_t index, std::uint32_t chainEnd)
{
    PlacedSlot placed;
    placed.index = index;
    placed.slot.state = entry.state;
    placed.slot.senderId = entry.sender;
    placed.slot.writerCounter = entry.writerCounter;
    placed.slot.receivers = idsOf(entry.receivers);
    placed.slot.userDataSize = entry.userDataSize;
    placed.slot.dataIndex = entry.external ? cExternalDataEntry : entry.dataEntries > 0 ? index + 1 : chainEnd;
    placed.external = entry.external;
    return placed;
}

PlacedSlot placeData(const MessageEntry& entry, std::uint32_t index, std::uint32_t next)
{
    PlacedSlot placed;
    placed.index = index;
    placed.slot.state = SlotState::data;
    placed.slot.senderId = entry.sender;
    placed.slot.dataIndex = next;
    return placed;
}

} // namespace

std::vector<PlacedSlot> layOutMessages(const Scenario& scenario)
{
    std::vector<PlacedSlot> slots;
    std::uint32_t index = 0;
    for (const MessageEntry& entry : scenario.messages) {
        const std::uint32_t last = index + entry.dataEntries;
        const std::uint32_t chainEnd = chainEndIndex(entry, index, scenario.messageSlots);
        if (entry.state != SlotState::free) {
            slots.push_back(placeMessage(entry, index, chainEnd));
        }
        for (std::uint32_t data = index + 1; data <= last; ++data) {
            slots.push_back(placeData(entry, data, data == last ? chainEnd : data + 1));
        }
        index = last + 1;
    }
    return slots;
}

} // namespace ZunicDemo
