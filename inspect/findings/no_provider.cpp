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

extern const Rule cNoProvider{{"no-provider", Severity::eWarning,
                               "A stub is in use, but no skeleton in use has its interface name and domain. With a "
                               "contract, the severity is error.",
                               "Its user gets no answer.",
                               "During start-up, users can register before their providers. Some services are "
                               "optional: use --ignore no-provider.",
                               "Start the provider, or compare name and domain on both sides."},
                              find};

} // namespace Inspect
