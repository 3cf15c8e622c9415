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
    {"undelivered", Severity::eError, "A message has a receiver that is not in use, the same in two looks.",
     "Nobody will read it for that receiver: the slot stays taken.",
     "None is known. Only a second look shows it: one that was just taken back will be removed from its messages.",
     "Find out which interface had that id, and why it left without its messages."},
    find};

} // namespace Inspect
