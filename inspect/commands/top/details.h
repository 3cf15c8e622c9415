#ifndef INSPECT_COMMANDS_TOP_DETAILS_H
#define INSPECT_COMMANDS_TOP_DETAILS_H

#include "inspect/commands/top/table_view.h"

#include <cstddef>
#include <string>
#include <vector>

namespace Inspect {

/// All that is to be known of the chosen line, which there has to be, in printable lines: an interface as `show` has
/// it, a process with its interfaces, a message slot with its chain. Lines of values are at most so wide, those of
/// tables as the terminal is.
std::vector<std::string> detailLines(const TableView& view, const BusState& state, std::size_t width);

} // namespace Inspect

#endif
