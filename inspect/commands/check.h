#ifndef INSPECT_COMMANDS_CHECK_H
#define INSPECT_COMMANDS_CHECK_H

#include "inspect/cli/command.h"
#include "inspect/commands/source.h"
#include "inspect/findings/findings.h"
#include "inspect/view/table.h"

#include <ostream>
#include <string>
#include <vector>

namespace Inspect {

struct CheckOptions
{
    LookSource mSource;
    Severity mFailOn = Severity::eError;
    std::vector<const FindingKind*> mIgnored;
    std::string mContract; ///< a file; empty: none
    bool mJson = false;
    TableStyle mStyle;
};

/// Prints the findings of a bus. eExitNo if one has at least the severity mFailOn.
ExitStatus runCheck(const CheckOptions& options, std::ostream& out);

/// Prints what a kind means, for people.
void explain(const FindingKind& kind, std::ostream& out);

extern const Command cCheckCommand;

} // namespace Inspect

#endif
