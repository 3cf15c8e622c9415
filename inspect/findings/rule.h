#ifndef INSPECT_FINDINGS_RULE_H
#define INSPECT_FINDINGS_RULE_H

#include "inspect/findings/finding.h"
#include "inspect/findings/look.h"

#include <string>
#include <utility>
#include <vector>

// What the files in findings/ are made of: each has one rule, and findings.cpp has them all in one table.

namespace Inspect {

/// What there is to judge by.
struct Looks
{
    const Look& mNow;
    const Look* mBefore; ///< null when there is one look only
};

using Findings = std::vector<Finding>;

struct Rule
{
    FindingKind mKind;
    const char* mAdvice; ///< one sentence: what to look at
    /// Adds what is wrong, in the order of what it is about.
    void (*mFind)(const Looks& looks, const Rule& rule, Findings& findings);
};

inline Subject subjectOf(const Interface& interface)
{
    return {SubjectKind::eInterface, interface.mId, interface.mName};
}

inline void add(Findings& findings, const Rule& rule, Severity severity, Subject subject, std::string evidence)
{
    findings.push_back({rule.mKind.mCode, severity, std::move(subject), std::move(evidence), rule.mAdvice});
}

/// With the severity of the kind.
inline void add(Findings& findings, const Rule& rule, Subject subject, std::string evidence)
{
    add(findings, rule, rule.mKind.mSeverity, std::move(subject), std::move(evidence));
}

inline bool isRegistered(const Interface& interface)
{
    return interface.mState == oxa_zunic_registration_state_registered;
}

/// A name among words of ours, for the evidence: in quotes, and so that it forges nothing.
std::string quoted(const std::string& name);

/// "1,2,5", of long ones the beginning and how many more there are.
std::string listed(const std::vector<std::uint16_t>& ids);

/// Whether both looks show the same message, or the same slot kept for one.
inline bool isSameUse(const Slot& one, const Slot& other)
{
    return one.mIndex == other.mIndex && one.mState == other.mState && one.mSenderId == other.mSenderId &&
           one.mWriterCounter == other.mWriterCounter;
}

/// The slot as it was in the look before, if that was the same use of it; else null.
inline const Slot* sameBefore(const Looks& looks, const Slot& slot)
{
    const Slot* const before = looks.mBefore == nullptr ? nullptr : looks.mBefore->slot(slot.mIndex);
    return before != nullptr && isSameUse(*before, slot) ? before : nullptr;
}

} // namespace Inspect

#endif
