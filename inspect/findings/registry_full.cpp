#include "inspect/findings/rule.h"

namespace Inspect {

namespace {

void addIfFull(std::size_t used, const char* what, Report& report)
{
    if (used * 10 > Channel::cTableSize * 9) {
        report.add({}, std::to_string(used) + " of " + std::to_string(Channel::cTableSize) + " entries for " + what);
    }
}

void find(const Looks& looks, Report& report)
{
    addIfFull(looks.mNow.state().mInterfaces.size(), "interfaces", report);
    addIfFull(looks.mNow.state().mCommunicators.size(), "communicators", report);
}

} // namespace

extern const Rule cRegistryFull{
    {"registry-full", Severity::eWarning,
     "More than nine tenths of the 1,024 entries for interfaces, or of those for communicators, are in use.",
     "Soon nobody can register any more.", "A bus that is meant to be that full.",
     "Look for processes with more communicators or interfaces than they need, and for dead ones."},
    find};

} // namespace Inspect
