#ifndef INSPECT_SAVE_SAVE_H
#define INSPECT_SAVE_SAVE_H

#include "inspect/command_line/command.h"
#include "inspect/state/bus_state.h"

#include <stdexcept>
#include <string>

namespace Inspect {

/// The file could not be written; `what` says why, in one line.
class NotSaved : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// Writes the state as JSON into a file beside `path` that the owner alone may read, and moves it into its place when
/// all of it is on the disk: whoever looks finds the file of before or the whole new one. A symbolic link in that place
/// is replaced, not followed. Throws NotSaved, and leaves nothing behind then.
void saveState(const BusState& state, const std::string& path);

extern const Command cSaveCommand;

} // namespace Inspect

#endif
