#ifndef INSPECT_LIVE_TAKE_STATE_H
#define INSPECT_LIVE_TAKE_STATE_H

#include "inspect/bus/bus_state.h"
#include "inspect/exit_status.h"

#include <string>

namespace Inspect {

/// There is no usable channel of that name, or its registry mutex could not be taken; `what` says so in one line.
class NoChannel : public Failure
{
public:
    explicit NoChannel(const std::string& why, bool isMissing = false)
        : Failure(eExitNoChannel, why), mIsMissing(isMissing)
    {}

    /// That there is none, and so no interface.
    bool isMissing() const { return mIsMissing; }

private:
    bool mIsMissing;
};

/// What of a state is to be filled in beside where and when, interfaces and communicators. The rest stays empty: who
/// does not look at the messages does not pay for sixty thousand slots.
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

} // namespace Inspect

#endif
