#ifndef INSPECT_LIVE_TAKE_STATE_H
#define INSPECT_LIVE_TAKE_STATE_H

#include "channel/channel_layout.h"
#include "inspect/bus/bus_state.h"
#include "inspect/live/attachment.h"
#include "inspect/live/process_book.h"

#include <memory>
#include <string>

namespace Inspect {

/// Which parts of a state to fill in besides its origin, interfaces and communicators. The rest stays empty: a command
/// that shows no messages does not pay for sixty thousand slots.
struct Wanted
{
    bool mFunctions = false;
    bool mProcesses = false;
    bool mMemoryManagers = false;
    bool mMessages = false;
    bool mSlotTotals = false; ///< of the messages all but the slots

    static constexpr Wanted everything() { return {true, true, true, true, true}; }

    /// What one or the other wants.
    constexpr Wanted operator|(const Wanted& other) const
    {
        return {mFunctions || other.mFunctions, mProcesses || other.mProcesses,
                mMemoryManagers || other.mMemoryManagers, mMessages || other.mMessages,
                mSlotTotals || other.mSlotTotals};
    }
};

/// Attaches to the channel, takes its state, and detaches. Throws NoChannel.
BusState takeState(const std::string& channel, const Wanted& wanted);

/// What looks at one channel, which all want the same and no messages, keep for the next one.
struct Remembered
{
    ProcessBook mProcesses;                           ///< used instead of /proc
    std::unique_ptr<Channel::RegistryTables> mTables; ///< of the last look; null: the next state is a new one
    std::shared_ptr<const BusState> mState;           ///< null: no look yet
};

/// The state of the look before, the very same object, when nothing has changed since: that costs a copy of the
/// registry's tables under their mutex and a comparison of bytes. Otherwise as takeState, except that a dead process
/// keeps the name and the start time that it was seen with, and an interface its functions. Throws NoChannel.
std::shared_ptr<const BusState> takeStateAgain(const std::string& channel, const Wanted& wanted, Remembered& before);

} // namespace Inspect

#endif
