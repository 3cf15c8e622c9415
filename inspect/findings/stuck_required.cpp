#include "inspect/findings/rule.h"

namespace Inspect {

namespace {

bool isRequired(const Interface& interface)
{
    return interface.mState == oxa_zunic_registration_state_preregistered;
}

void find(const Looks& looks, Report& report)
{
    if (looks.mBefore == nullptr) {
        return;
    }
    for (const Interface& interface : looks.mNow.state().mInterfaces) {
        if (!isRequired(interface)) {
            continue;
        }
        const Interface* const before = looks.mBefore->sameAs(interface);
        if (before != nullptr && isRequired(*before)) {
            report.add(subjectOf(interface), "preregistered in both looks");
        }
    }
}

} // namespace

extern const Rule cStuckRequired{
    {"stuck-required", Severity::eWarning, "An interface is preregistered in both looks.",
     "A process requires it, and it is not registered.",
     "A provider that takes longer to start than the time between the looks. Needs a second look.",
     "Find out why its process does not register it."},
    find};

} // namespace Inspect
