#ifndef INSPECT_COMMANDS_H
#define INSPECT_COMMANDS_H

#include "inspect/cli/command.h"

#include <span>

namespace Inspect {

/// All commands of the program, in the order in which --help shows them.
std::span<const Command* const> commands();

} // namespace Inspect

#endif
