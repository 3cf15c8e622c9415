#ifndef TESTS_SUPPORT_INSPECT_H
#define TESTS_SUPPORT_INSPECT_H

#include "support/program.h"

#include <string>
#include <vector>

namespace TestSupport {

/// The exit statuses of zunic_inspect as they are documented, apart from its own header: they never change.
enum InspectStatus : int
{
    eYes = 0,
    eNo = 1,
    eFailed = 2,
    eTimeIsUp = 3,
    eNoChannel = 4,
    eNoState = 5
};

/// The command line that runs zunic_inspect with these arguments.
std::vector<std::string> inspectWords(std::vector<std::string> arguments);

/// Runs it, in a locale with UTF-8.
ProgramResult inspect(std::vector<std::string> arguments);

} // namespace TestSupport

#endif
