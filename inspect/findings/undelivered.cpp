#include "inspect/findings/rule.h"

namespace Inspect {

namespace {

std::vector<std::uint16_t> unusedIds(const BusIndex& index, const IdSet& ids)
{
    std::vector<std::uint16_t> unused;
    for (const std::uint16_t id : ids) {
        if (index.interfaceWithId(id) == nullptr) {
            unused.push_back(id);
        }
    }
    return unused;
}

void find(const Looks& looks, Report& report)
{
    for (const Slot& slot : looks.mNow.state().mMessages.mSlots) {
        const Slot* const before = slot.mState == Channel::eSlotStateMessage ? sameBefore(looks, slot) : nullptr;
        if (before == nullptr) {
            continue;
        }
        const auto unused = unusedIds(looks.mNow, slot.mReceivers);
        if (!unused.empty() && unused == unusedIds(*looks.mBefore, before->mReceivers)) {
            report.add({SubjectKind::eSlot, slot.mIndex, {}}, "from sender " + std::to_string(slot.mSenderId) +
                                                                  ", counter " + std::to_string(slot.mWriterCounter) +
                                                                  "; receivers not in use: " + listed(unused));
        }
    }
}

} // namespace

extern const Rule cUndelivered{
    {"undelivered", Severity::eError, "The same message has a receiver that is not in use, in both looks.",
     "No process reads it for that receiver, so the slot stays occupied.",
     "None known. Needs a second look: a receiver that has just unregistered is removed from its messages.",
     "Find out which interface had the id, and why it unregistered without reading its messages."},
    find};

} // namespace Inspect
