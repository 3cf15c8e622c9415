#ifndef INSPECT_COMMANDS_WATCH_H
#define INSPECT_COMMANDS_WATCH_H

#include "inspect/cli/command.h"
#include "inspect/commands/diff.h"
#include "inspect/findings/finding.h"

#include <chrono>
#include <optional>
#include <string>

namespace Inspect {

struct WatchOptions
{
    std::string mChannel = "OXABus";
    std::chrono::milliseconds mInterval{200};      ///< from look to look
    std::optional<std::chrono::milliseconds> mFor; ///< none: until it is stopped
    const FindingKind* mUntil = nullptr;           ///< the finding to wait for; null: none
    ChangeOptions mChanges;
};

/// Prints what changes on a bus as it happens, each change in one line that is written at once. The channel may go away
/// and come back: what has changed in the meantime is printed then. Messages are no changes.
/// eExitTimeIsUp when a finding was waited for and did not come. SIGINT and SIGTERM end the program at once, with
/// eExitYes; so does the end of the last reader of the lines.
ExitStatus runWatch(const WatchOptions& options, std::ostream& out);

extern const Command cWatchCommand;

} // namespace Inspect

#endif
