#ifndef INSPECT_EXIT_STATUS_H
#define INSPECT_EXIT_STATUS_H

#include <array>
#include <stdexcept>
#include <string>

namespace Inspect {

/// The exit statuses of zunic_inspect. Scripts build on these numbers: they never change.
enum ExitStatus : int
{
    eExitYes = 0,
    eExitNo = 1,
    eExitFailed = 2,
    eExitTimeIsUp = 3,
    eExitNoChannel = 4,
    eExitNoStateFile = 5,
};

/// What each of them means, by its number; --help prints it.
inline constexpr std::array cExitStatusMeanings{
    "yes; done",
    "no: nothing fits, or it is still there; a finding, a difference",
    "the command line cannot be read, or the program itself failed",
    "time is up",
    "no usable channel, or its mutex could not be taken",
    "no saved state (or contract) in that file: missing, cut short, or something else",
};

/// Ends the command with this exit status; `what` is the complaint, in one line.
class Failure : public std::runtime_error
{
public:
    Failure(ExitStatus status, const std::string& why) : std::runtime_error(why), mStatus(status) {}

    ExitStatus status() const { return mStatus; }

private:
    ExitStatus mStatus;
};

} // namespace Inspect

#endif
