#ifndef INSPECT_EXIT_STATUS_H
#define INSPECT_EXIT_STATUS_H

#include <stdexcept>
#include <string>

namespace Inspect {

/// The exit statuses of zunic_inspect. Scripts build on these numbers: they never change.
enum ExitStatus : int
{
    eExitYes = 0,         ///< yes; or what was asked for was done
    eExitNo = 1,          ///< no: nothing fits, or it is still there; a finding, a difference
    eExitFailed = 2,      ///< the command line cannot be read, or the program itself failed (a full disk, no memory)
    eExitTimeIsUp = 3,    ///< what was waited for did not come in time
    eExitNoChannel = 4,   ///< no usable channel of that name, or its registry mutex could not be taken
    eExitNoStateFile = 5, ///< the file is missing, cut short, or holds no state (or contract)
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
