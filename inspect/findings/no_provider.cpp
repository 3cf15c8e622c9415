#include "inspect/findings/rule.h"

namespace Inspect {

namespace {

void find(const Looks& looks, Report& report)
{
    for (const Interface& interface : looks.mNow.state().mInterfaces) {
        if (interface.mType == Oxa::eInterfaceInstanceTypeStub && looks.mNow.serviceOf(interface).mSkeletons.empty()) {
            report.add(subjectOf(interface), "no skeleton of that name in domain " + quoted(interface.mDomain));
        }
    }
}

} // namespace

extern const Rule cNoProvider{
    {"no-provider", Severity::eWarning,
     "A stub is in use, and no skeleton in use has its interface name and domain. An error if there is a contract.",
     "Whoever uses it waits for nothing.",
     "During start-up, users may come before their providers. Some services are optional: --ignore no-provider.",
     "Start the process that provides it, or compare name and domain on both sides."},
    find};

} // namespace Inspect
