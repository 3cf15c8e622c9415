#include "inspect/bus/backlog.h"

#include <algorithm>
#include <limits>

namespace Inspect {

namespace {

constexpr std::size_t cIds = std::numeric_limits<std::uint16_t>::max() + 1;

void add(Backlog& backlog, std::uint16_t sentSince)
{
    ++backlog.mMessages;
    backlog.mSinceOldest = std::max(backlog.mSinceOldest, sentSince);
}

} // namespace

Backlogs backlogs(const MessageStorage& messages, std::size_t processes,
                  const std::function<std::size_t(std::uint16_t id)>& processOf)
{
    std::vector<std::size_t> places(cIds);
    for (std::size_t id = 0; id < cIds; ++id) {
        places[id] = processOf(static_cast<std::uint16_t>(id));
    }
    Backlogs all{std::vector<Backlog>(cIds), std::vector<Backlog>(processes)};
    std::vector<const Slot*> last(processes); // The message that was counted last.
    for (const Slot& slot : messages.mSlots) {
        if (slot.mState != Channel::eSlotStateMessage) {
            continue;
        }
        const auto sentSince = static_cast<std::uint16_t>(messages.mWriterCounter - slot.mWriterCounter);
        for (const std::uint16_t id : slot.mReceivers) {
            add(all.mInterfaces[id], sentSince);
            const std::size_t place = places[id];
            if (place < processes && last[place] != &slot) {
                last[place] = &slot;
                add(all.mProcesses[place], sentSince);
            }
        }
    }
    return all;
}

} // namespace Inspect
