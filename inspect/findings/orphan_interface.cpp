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
    {"orphan-interface", Severity::eError,
     "An interface is in use whose communicator is not in the table of communicators.",
     "Nobody owns it: nobody will answer for it or take it back.",
     "None is known: both tables are of one moment. An interface that names no communicator at all is not meant.",
     "Find out whose it was, and why only half of that process's registration was taken back."},
    find};

} // namespace Inspect
