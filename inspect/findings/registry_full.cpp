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
     "More than nine tenths of the 1,024 interface entries or of the 1,024 communicator entries are in use.",
     "Soon no process can register.", "A bus that is planned to be this full.",
     "Find dead processes, and processes with more communicators or interfaces than they need."},
    find};

} // namespace Inspect
