#ifndef INSPECT_COMMANDS_WAIT_H
#define INSPECT_COMMANDS_WAIT_H

#include "inspect/bus/interface_filter.h"
#include "inspect/cli/command.h"

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace Inspect {

struct WaitOptions
{
    std::string mChannel = "OXABus";
    std::vector<std::string> mNames; ///< of interfaces, as they are
    InterfaceFilter mFilter;         ///< for each of them; its name does not count
    bool mIsForGone = false;
    std::optional<std::chrono::milliseconds> mTimeout = std::chrono::seconds(30); ///< none: for ever
};

/// Waits until an interface that fits is there for each of the names, or for none of them. A channel that cannot be
/// used is waited for, too; one that does not exist has no interfaces. eExitTimeIsUp when that does not come to pass:
/// never early, and late by no more than one wait for the registry mutex.
ExitStatus runWait(const WaitOptions& options);

extern const Command cWaitCommand;

} // namespace Inspect

#endif
