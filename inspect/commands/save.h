#ifndef INSPECT_COMMANDS_SAVE_H
#define INSPECT_COMMANDS_SAVE_H

#include "inspect/cli/command.h"

namespace Inspect {

extern const Command cSaveCommand;

} // namespace Inspect

#endif
