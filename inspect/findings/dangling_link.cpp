#include "inspect/findings/rule.h"

namespace Inspect {

namespace {

void find(const Looks& looks, Report& report)
{
    for (const Interface& interface : looks.mNow.state().mInterfaces) {
        std::vector<std::uint16_t> missing;
        for (const std::uint16_t receiver : interface.mReceivers) {
            if (looks.mNow.interfaceWithId(receiver) == nullptr) {
                missing.push_back(receiver);
            }
        }
        if (!missing.empty()) {
            report.add(subjectOf(interface), std::to_string(missing.size()) + " of " +
                                                 std::to_string(interface.mReceivers.size()) +
                                                 " receivers: " + listed(missing));
        }
    }
}

} // namespace

extern const Rule cDanglingLink{{"dangling-link", Severity::eError,
                                 "A receiver set contains an id that no interface in use has.",
                                 "Messages are sent to a missing interface, or to the next one that gets the id.",
                                 "None known: all interfaces are copied at the same moment.",
                                 "Find out which interface had the id, and why it was removed without its links."},
                                find};

} // namespace Inspect
