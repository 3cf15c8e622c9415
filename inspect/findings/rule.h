#ifndef INSPECT_FINDINGS_RULE_H
#define INSPECT_FINDINGS_RULE_H

#include "inspect/bus/bus_index.h"
#include "inspect/findings/finding.h"

#include <string>
#include <utility>
#include <vector>

// What the files in findings/ are made of: each has one rule, and findings.cpp has them all in one table.

namespace Inspect {

/// What there is to judge by.
struct Looks
{
    const BusIndex& mNow;
    const BusIndex* mBefore; ///< null when there is one look only
};

/// Takes the findings of one kind.
class Report
{
public:
    Report(const FindingKind& kind, std::vector<Finding>& findings) : mKind(kind), mFindings(findings) {}

    void add(Severity severity, Subject subject, std::string evidence)
    {
        mFindings.push_back({&mKind, severity, std::move(subject), std::move(evidence)});
    }

    /// With the severity of the kind.
    void add(Subject subject, std::string evidence) { add(mKind.mSeverity, std::move(subject), std::move(evidence)); }

private:
    const FindingKind& mKind;
    std::vector<Finding>& mFindings;
};

struct Rule
{
    FindingKind mKind;
    /// Reports what is wrong, in the order of what it is about.
    void (*mFind)(const Looks& looks, Report& report);
};

inline Subject subjectOf(const Interface& interface)
{
    return {SubjectKind::eInterface, interface.mId, interface.mName};
}

inline bool isRegistered(const Interface& interface)
{
    return interface.mState == oxa_zunic_registration_state_registered;
}

/// A name among words of ours, for the evidence: in quotes, and so that it forges nothing.
std::string quoted(const std::string& name);

/// "1,2,5", of long ones the beginning and how many more there are.
std::string listed(const std::vector<std::uint16_t>& ids);

/// The slot as it was in the look before, if it was kept for, or held, the same message; else null.
const Slot* sameBefore(const Looks& looks, const Slot& slot);

} // namespace Inspect

#endif
