#include "inspect/bus/words.h"
#include "inspect/findings/rule.h"

#include <algorithm>
#include <map>

namespace Inspect {

namespace {

using Faults = std::map<std::uint32_t, std::string>; ///< by index of the message's slot

/// One data entry, and the message in whose chain it is.
using Membership = std::pair<std::uint32_t, std::uint32_t>;

void addSharedEntries(const std::vector<Slot>& slots, Faults& faults)
{
    std::vector<Membership> memberships;
    for (const Slot& slot : slots) {
        for (const Channel::DataEntry& entry : slot.mChain.mEntries) {
            memberships.emplace_back(entry.mIndex, slot.mIndex);
        }
    }
    std::ranges::sort(memberships);
    for (std::size_t i = 1; i < memberships.size(); ++i) {
        const auto& [entry, message] = memberships[i];
        const auto& [entryBefore, messageBefore] = memberships[i - 1];
        if (entry == entryBefore && message != messageBefore) {
            const std::string shared = "entry " + std::to_string(entry) + " is also in the chain of slot ";
            faults.try_emplace(messageBefore, shared + std::to_string(message));
            faults.try_emplace(message, shared + std::to_string(messageBefore));
        }
    }
}

Faults faultsIn(const std::vector<Slot>& slots)
{
    Faults faults;
    for (const Slot& slot : slots) {
        const Channel::DataChain& chain = slot.mChain;
        // One that was cut short was not looked at.
        if (chain.mEnd != Channel::ChainEnd::eWhole && chain.mEnd != Channel::ChainEnd::eCut) {
            faults[slot.mIndex] = chainEndWord(chain.mEnd) + " " + std::to_string(chain.mNextIndex) +
                                  ", entries before it: " + std::to_string(chain.mEntries.size());
        }
    }
    addSharedEntries(slots, faults);
    return faults;
}

void find(const Looks& looks, Report& report)
{
    const Faults now = faultsIn(looks.mNow.state().mMessages.mSlots);
    if (now.empty()) {
        return;
    }
    const Faults before = looks.mBefore == nullptr ? Faults{} : faultsIn(looks.mBefore->state().mMessages.mSlots);
    for (const auto& [index, fault] : now) {
        // Chains are followed while the bus goes on: one that is taken apart meanwhile may look broken once.
        const bool isConfirmed = looks.mBefore == nullptr || (before.contains(index) && before.at(index) == fault &&
                                                              sameBefore(looks, *looks.mNow.slot(index)) != nullptr);
        if (isConfirmed) {
            report.add({SubjectKind::eSlot, index, {}}, fault);
        }
    }
}

} // namespace

extern const Rule cBrokenChain{
    {"broken-chain", Severity::eError,
     "The chain of data entries of a message contains an invalid index, an entry that is not data, a loop, or an entry "
     "of another chain; with two looks, in both.",
     "The message cannot be read as it was sent.", "With one look only: a message that is removed while it is read.",
     "Save the state, and find the process that writes to the wrong place or died while writing."},
    find};

} // namespace Inspect
