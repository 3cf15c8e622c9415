#ifndef INSPECT_EXIT_STATUS_H
#define INSPECT_EXIT_STATUS_H

namespace Inspect {

/// What zunic_inspect ends with. Scripts build on these numbers: they never change.
enum ExitStatus : int
{
    eExitYes = 0,         ///< yes; or what was asked for was done
    eExitNo = 1,          ///< no: nothing fits, or it is still there; a finding, a difference
    eExitFailed = 2,      ///< the command line cannot be read, or the program itself failed (a full disk, no memory)
    eExitTimeIsUp = 3,    ///< what was waited for did not come in time
    eExitNoChannel = 4,   ///< no usable channel of that name, or its registry mutex could not be taken
    eExitNoStateFile = 5, ///< the file is missing, cut short, or holds no state (or contract)
};

} // namespace Inspect

#endif
