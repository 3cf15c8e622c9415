#ifndef INSPECT_COMMANDS_TRAFFIC_TRAFFIC_H
#define INSPECT_COMMANDS_TRAFFIC_TRAFFIC_H

#include "inspect/cli/command.h"

namespace Inspect {

extern const Command cTrafficCommand;

} // namespace Inspect

#endif
