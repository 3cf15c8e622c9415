#include "inspect/bus/words.h"
#include "inspect/findings/rule.h"

namespace Inspect {

namespace {

/// Describes the sender that keeps the slot; an error unless it may still go on.
std::pair<Severity, std::string> senderOf(const BusIndex& index, const Slot& slot)
{
    const Interface* const sender = index.interfaceWithId(slot.mSenderId);
    if (sender == nullptr) {
        return {Severity::eError, "is not in use"};
    }
    const Communicator* const owner = index.ownerOf(*sender);
    if (owner == nullptr) {
        return {Severity::eError, "has no owner"};
    }
    const std::string process = "process " + std::to_string(owner->mProcessId);
    switch (owner->mProcess.mLiving) {
    case Living::eNo:
        return {Severity::eError, "of dead " + process};
    case Living::eYes:
        return {Severity::eWarning, "of living " + process};
    case Living::eUnknown:
        break;
    }
    return {Severity::eWarning, "of " + process + ", which is unknown"};
}

void find(const Looks& looks, Report& report)
{
    for (const Slot& slot : looks.mNow.state().mMessages.mSlots) {
        const bool isKept = slot.mState == Channel::eSlotStateReserved || slot.mState == Channel::eSlotStateWritten;
        if (isKept && sameBefore(looks, slot) != nullptr) {
            const auto [severity, sender] = senderOf(looks.mNow, slot);
            report.add(severity, {SubjectKind::eSlot, slot.mIndex, {}},
                       slotStateWord(slot.mState) + ", counter " + std::to_string(slot.mWriterCounter) + "; sender " +
                           std::to_string(slot.mSenderId) + " " + sender);
        }
    }
}

} // namespace

extern const Rule cStuckSlot{
    {"stuck-slot", Severity::eError,
     "A message slot is reserved or being written for the same sender with the same counter in both looks: a warning, "
     "or an error if the process of the sender is dead or its id is not in use.",
     "The slot is lost until a process frees it.",
     "A sender that needs longer than the time between the looks for a large message. Needs a second look.",
     "Examine the sender with a debugger, or find out why it died."},
    find};

} // namespace Inspect
