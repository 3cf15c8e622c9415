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

/// Tells what is wrong with a bus. eExitNo if a finding is as grave as that, or graver.
ExitStatus runCheck(const CheckOptions& options, std::ostream& out);

/// What is to be known about a kind, for reading.
void explain(const FindingKind& kind, std::ostream& out);

extern const Command cCheckCommand;

} // namespace Inspect

#endif
