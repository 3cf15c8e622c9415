#ifndef INSPECT_COMMAND_LINE_COMMAND_LINE_H
#define INSPECT_COMMAND_LINE_COMMAND_LINE_H

#include "inspect/exit_status.h"

namespace Inspect {

/// The whole program: runs the command that the command line names. Answers go to standard output, all else to standard
/// error, in one line.
ExitStatus runCommandLine(int argc, char** argv);

} // namespace Inspect

#endif
