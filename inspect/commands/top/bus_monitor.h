#ifndef INSPECT_COMMANDS_TOP_BUS_MONITOR_H
#define INSPECT_COMMANDS_TOP_BUS_MONITOR_H

#include "inspect/bus/message_rate.h"
#include "inspect/findings/findings.h"
#include "inspect/live/bus_follower.h"
#include "inspect/live/processor_time.h"

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Inspect {

using SteadyTime = std::chrono::steady_clock::time_point;

/// Follows a bus, and counts its messages and checks it on the way. The channel may go away and come back.
class BusMonitor
{
public:
    explicit BusMonitor(std::string channel) : mFollower(std::move(channel)) {}

    /// Looks for what is wanted. Also checks the bus, as often as that costs little: the first time, and then when it
    /// comes to no more than 0.2 % of a core.
    void look(const Wanted& wanted);

    /// The last look; null when there was no usable channel.
    const BusState* now() const { return mFollower.now().get(); }
    /// The one before; null when there is none of the same channel, or it did not want all that the last one did.
    const BusState* before() const;
    /// Why there is nothing to be seen, when `now` is null.
    std::string trouble() const { return mFollower.trouble()->what(); }

    /// None until looks have seen the channel for a while.
    std::optional<Rate> rate() const { return mRate; }
    /// Most severe first.
    const std::vector<Finding>& findings() const { return mFindings; }
    /// The time of the look that they are of; see BusState.
    WallTime checkedAt() const { return mChecked ? mChecked->mTakenAt : WallTime(); }
    /// Whether the last look checked the bus, too.
    bool hasChecked() const { return mChecked != nullptr && mChecked == mFollower.now(); }

private:
    struct Count
    {
        std::uint16_t mCounter;
        SteadyTime mTime;
    };

    void count();
    void check(std::chrono::nanoseconds spentBefore);

    BusFollower mFollower;
    Wanted mWanted; ///< of the last look, which may have seen more
    Wanted mWantedBefore;
    std::optional<Count> mCounted;
    std::optional<Rate> mRate;
    std::vector<Finding> mFindings;
    std::shared_ptr<const BusState> mChecked;
    SteadyTime mNextCheck;
};

} // namespace Inspect

#endif
