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

extern const Rule cDanglingLink{
    {"dangling-link", Severity::eError, "A receiver set names an id that no interface in use has.",
     "Messages are addressed to nobody, and to whoever is given that id next.",
     "None is known: all interfaces are of one moment.",
     "Find out which interface had that id, and why it was taken back without the connection."},
    find};

} // namespace Inspect
