#include "inspect/findings/rule.h"

namespace Inspect {

namespace {

void find(const Looks& looks, Report& report)
{
    const MessageStorage& messages = looks.mNow.state().mMessages;
    const std::uint32_t free = messages.mTotals[Channel::eSlotStateFree];
    if (std::uint64_t{free} * 10 >= messages.mSize) {
        return; // Also where there are no slots at all.
    }
    const bool isError =
        free == 0 && looks.mBefore != nullptr && looks.mBefore->state().mMessages.mTotals[Channel::eSlotStateFree] == 0;
    report.add(isError ? Severity::eError : Severity::eWarning, {},
               std::to_string(free) + " of " + std::to_string(messages.mSize) + " message slots are free");
}

} // namespace

extern const Rule cSlotsLow{
    {"slots-low", Severity::eError,
     "Less than a tenth of the message slots are free: a warning. None is free in both looks: an error.",
     "Senders find no free slot.", "With one look only: a short burst.",
     "Find out whose messages fill the storage: zunic_inspect list messages -o SENDER,NAME,STATE."},
    find};

} // namespace Inspect
