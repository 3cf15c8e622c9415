#include "inspect/findings/rule.h"

namespace Inspect {

namespace {

void addIfFull(std::size_t used, const char* what, const Rule& rule, Findings& findings)
{
    if (used * 10 > Channel::cTableSize * 9) {
        add(findings, rule, {},
            std::to_string(used) + " of " + std::to_string(Channel::cTableSize) + " entries for " + what);
    }
}

void find(const Looks& looks, const Rule& rule, Findings& findings)
{
    addIfFull(looks.mNow.state().mInterfaces.size(), "interfaces", rule, findings);
    addIfFull(looks.mNow.state().mCommunicators.size(), "communicators", rule, findings);
}

} // namespace

extern const Rule cRegistryFull;
const Rule cRegistryFull{
    {"registry-full", Severity::eWarning,
     "More than nine tenths of the 1,024 entries for interfaces, or of those for communicators, are in use.",
     "Soon nobody can register any more.", "A bus that is meant to be that full."},
    "Look for processes with more communicators or interfaces than they need, and for dead ones.",
    find};

} // namespace Inspect
