#ifndef ZUNIC_DEMO_MESSAGE_LAYOUT_H
#define ZUNIC_DEMO_MESSAGE_LAYOUT_H

#include "scenario.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace ZunicDemo {

struct PlacedSlot
{
    std::uint32_t index = 0;
    ZunicHosting::SlotDescription slot;
    /// The memory manager to take the block for `slot.external` from.
    std::optional<std::uint16_t> external;
};

/// The slots that the messages of `scenario` fill, in ascending order: each message takes the next slot, with its data
/// entries in the slots right behind it. A free entry leaves a slot out.
std::vector<PlacedSlot> layOutMessages(const Scenario& scenario);

} // namespace ZunicDemo

#endif
