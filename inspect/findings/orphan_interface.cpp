#include "inspect/findings/rule.h"

namespace Inspect {

namespace {

void find(const Looks& looks, Report& report)
{
    for (const Interface& interface : looks.mNow.state().mInterfaces) {
        const std::uint16_t id = interface.mCommunicatorId;
        if (id != Channel::cNoCommunicator && looks.mNow.communicatorWithId(id) == nullptr) {
            report.add(subjectOf(interface), "communicator " + std::to_string(id) + " is not registered");
        }
    }
}

} // namespace

extern const Rule cOrphanInterface{
    {"orphan-interface", Severity::eError, "An interface is in use, but its communicator is not registered.",
     "It has no owner that answers or removes it.",
     "None known: both tables are copied at the same moment. Interfaces without a communicator id are not reported.",
     "Find out which process owned it, and why only part of its registration was removed."},
    find};

} // namespace Inspect
