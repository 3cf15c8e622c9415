#ifndef INSPECT_COMMANDS_LIST_LIST_H
#define INSPECT_COMMANDS_LIST_LIST_H

#include "inspect/cli/command.h"

namespace Inspect {

extern const Command cListCommand;

} // namespace Inspect

#endif
