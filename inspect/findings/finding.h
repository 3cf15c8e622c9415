#ifndef INSPECT_FINDINGS_FINDING_H
#define INSPECT_FINDINGS_FINDING_H

#include "inspect/bus/bus_state.h"
#include "inspect/saved/record_json.h"

#include <cstdint>
#include <string>

// What is wrong with a bus, as far as its state shows.

namespace Inspect {

enum class Severity : std::uint8_t
{
    eNote,
    eWarning,
    eError
};

enum class SubjectKind : std::uint8_t
{
    eBus,
    eInterface,     ///< by interface id
    eCommunicator,  ///< by communicator id
    eProcess,       ///< by process id
    eMemoryManager, ///< by index
    eSlot           ///< by index
};

/// What a finding is about.
struct Subject
{
    SubjectKind mKind = SubjectKind::eBus;
    std::uint32_t mId = 0; ///< see SubjectKind; 0 for the bus
    std::string mName;     ///< for people: bytes as the bus has them; may be empty

    bool operator==(const Subject& other) const = default;
};

/// There is one object for each kind, for as long as the program runs: its address stands for the kind.
struct FindingKind
{
    const char* mCode;       ///< such as "dead-process": stable, scripts build on it
    Severity mSeverity;      ///< the highest that it can have
    const char* mDefinition; ///< when it is true
    const char* mReason;     ///< why that matters
    const char* mFalseAlarms;
    const char* mAdvice; ///< one sentence: what to look at
};

struct Finding
{
    const FindingKind* mKind; ///< never null
    Severity mSeverity;
    Subject mSubject;
    std::string mEvidence; ///< in numbers, one printable line; names in it are escaped as `printable` does
};

/// "error", "warning" or "note".
const char* severityWord(Severity severity);

/// "interface", "process", ... ; "bus".
const char* subjectWord(SubjectKind kind);

/// As described in docs/bus_check.schema.json.
Json toJson(const Finding& finding);

} // namespace Inspect

#endif
