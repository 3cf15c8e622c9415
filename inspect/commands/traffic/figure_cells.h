#ifndef INSPECT_COMMANDS_TRAFFIC_FIGURE_CELLS_H
#define INSPECT_COMMANDS_TRAFFIC_FIGURE_CELLS_H

#include "inspect/commands/traffic/tally.h"
#include "inspect/view/table.h"

#include <chrono>
#include <cstdint>
#include <string>

namespace Inspect {

/// So many in the time of the samples, per second: "100.2".
Cell rateCell(std::uint64_t count, const Tally& tally);
/// The same of user data sizes: "640", "6.4k".
Cell sizeCell(std::uint64_t size, const Tally& tally);
/// "1.2ms", "250ms", "12.3s"; empty when none has left.
Cell stayCell(const TimeHistogram& stays, std::chrono::microseconds time, std::chrono::microseconds interval);

} // namespace Inspect

#endif
