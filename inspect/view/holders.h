#ifndef INSPECT_VIEW_HOLDERS_H
#define INSPECT_VIEW_HOLDERS_H

#include "inspect/bus/bus_index.h"
#include "inspect/view/table.h"

#include <string>

namespace Inspect {

/// "functions 3, messages 36 (30 from sender 8), unknown 1": who holds the blocks, and the sender with most of them; of
/// several such senders the one with the lowest id.
std::string holdersText(const BlockHolders& holders);

/// A line for each reference to a block of the memory manager, and a last line with the totals.
std::string holdersTable(std::size_t manager, const BusIndex& index, const TableStyle& style);

} // namespace Inspect

#endif
