#ifndef INSPECT_COMMANDS_TOP_TOP_H
#define INSPECT_COMMANDS_TOP_TOP_H

#include "inspect/cli/command.h"

namespace Inspect {

extern const Command cTopCommand;

} // namespace Inspect

#endif
