#ifndef INSPECT_CHECK_CHECK_H
#define INSPECT_CHECK_CHECK_H

#include "inspect/check/finding.h"
#include "inspect/command_line/command.h"
#include "inspect/source/looks.h"
#include "inspect/table/table.h"

#include <ostream>
#include <string>
#include <vector>

namespace Inspect {

struct CheckOptions
{
    LookSource mSource;
    Severity mFailOn = Severity::eError;
    std::vector<std::string> mIgnored; ///< codes
    bool mJson = false;
    TableLook mLook;
};

/// Tells what is wrong with a bus. eExitNo if a finding is as grave as that, or graver.
ExitStatus runCheck(const CheckOptions& options, std::ostream& out);

/// The kind with that code; null when there is none.
const FindingKind* findingKind(const std::string& code);

/// What is to be known about a kind, for reading.
void explain(const FindingKind& kind, std::ostream& out);

/// "error", "warning" or "note".
const char* severityWord(Severity severity);

/// "interface", "process", ... ; "bus".
const char* subjectWord(SubjectKind kind);

extern const Command cCheckCommand;

} // namespace Inspect

#endif
