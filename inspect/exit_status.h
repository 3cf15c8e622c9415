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
    "success; yes",
    "no: no match, still present, a finding, a difference",
    "wrong usage, or the program failed",
    "timeout",
    "no usable channel, or its mutex could not be locked",
    "the file is missing, truncated, or not a saved state or contract",
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
