#ifndef INSPECT_SAVE_SAVE_H
#define INSPECT_SAVE_SAVE_H

#include "inspect/command_line/command.h"

namespace Inspect {

extern const Command cSaveCommand;

} // namespace Inspect

#endif
