#ifndef INSPECT_CLI_COMMAND_LINE_H
#define INSPECT_CLI_COMMAND_LINE_H

#include "inspect/cli/command.h"
#include "inspect/exit_status.h"

#include <span>

namespace Inspect {

/// The whole program: runs the one of the commands that the command line names. Answers go to standard output, all else
/// to standard error, in one line.
ExitStatus runCommandLine(int argc, char** argv, std::span<const Command* const> commands);

} // namespace Inspect

#endif
