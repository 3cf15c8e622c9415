#ifndef INSPECT_COMMANDS_TOP_FOLLOWER_H
#define INSPECT_COMMANDS_TOP_FOLLOWER_H

#include "inspect/commands/top/figures.h"
#include "inspect/findings/findings.h"
#include "inspect/live/look_memory.h"
#include "inspect/live/take_state.h"

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Inspect {

using SteadyTime = std::chrono::steady_clock::time_point;

/// What the process has spent of the processor.
std::chrono::nanoseconds processorTime();

/// Looks at a channel again and again, and keeps what its last two looks saw. The channel may go and come back.
class Follower
{
public:
    explicit Follower(std::string channel) : mChannel(std::move(channel)) {}

    /// Looks for what is wanted, and for what is wrong as often as that costs little: the first time, and then when it
    /// comes to no more than 0.2 % of a core.
    void look(const Wanted& wanted);

    /// The last look; null when there was no usable channel.
    const BusState* now() const { return mNow.mState.get(); }
    /// The one before; null when there is none of the same channel, or it did not want all that the last one did.
    const BusState* before() const;
    /// Why there is nothing to be seen, when `now` is null.
    const std::string& trouble() const { return mTrouble; }

    /// None until looks have seen the channel for a while.
    std::optional<Rate> rate() const { return mRate; }
    /// Gravest first.
    const std::vector<Finding>& findings() const { return mFindings; }
    /// The look that they are of, as BusState tells it.
    WallTime checkedAt() const { return mChecked ? mChecked->mTakenAt : WallTime(); }
    /// Whether the last look was for what is wrong, too.
    bool hasChecked() const { return mChecked != nullptr && mChecked == mNow.mState; }

private:
    struct Look
    {
        std::shared_ptr<const BusState> mState;
        Wanted mWanted;
    };

    struct Count
    {
        std::uint16_t mCounter;
        SteadyTime mTime;
    };

    void take(const Wanted& wanted);
    void count();
    void check(std::chrono::nanoseconds spentBefore);

    std::string mChannel;
    LookMemory mMemory;
    Look mNow;
    Look mBefore;
    std::string mTrouble;
    std::optional<Count> mCounted;
    std::optional<Rate> mRate;
    std::vector<Finding> mFindings;
    std::shared_ptr<const BusState> mChecked;
    SteadyTime mNextCheck;
};

} // namespace Inspect

#endif
