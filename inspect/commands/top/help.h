#ifndef INSPECT_COMMANDS_TOP_HELP_H
#define INSPECT_COMMANDS_TOP_HELP_H

#include "inspect/commands/top/table_view.h"

#include <string>
#include <vector>

namespace Inspect {

/// The keys, what is to be known of the screen, and the columns of the table.
std::vector<std::string> helpLines(const TableView& view);

} // namespace Inspect

#endif
