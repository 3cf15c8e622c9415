#include "inspect/commands/top/bus_monitor.h"

#include <utility>

namespace Inspect {

namespace {

using std::chrono::nanoseconds;
using Clock = std::chrono::steady_clock;

/// A check may begin so many times what it cost after the one before.
constexpr int cCheckPause = 500;

/// Messages are counted for so long at least: in less, some more or less would be another rate.
constexpr std::chrono::milliseconds cShortestCount{450};

bool covers(const Wanted& all, const Wanted& part)
{
    return (all.mFunctions || !part.mFunctions) && (all.mProcesses || !part.mProcesses) &&
           (all.mMemoryManagers || !part.mMemoryManagers) && (all.mMessages || !part.mMessages);
}

} // namespace

void BusMonitor::look(const Wanted& wanted)
{
    const bool isCheckDue = now() == nullptr || Clock::now() >= mNextCheck;
    const nanoseconds spentBefore = processorTime();
    mWantedBefore = std::exchange(mWanted, wanted);
    mFollower.look(isCheckDue ? Wanted::everything() : wanted);
    if (now() == nullptr) {
        mChecked = nullptr;
        mCounted.reset();
        mRate.reset();
        return;
    }
    count();
    if (isCheckDue) {
        check(spentBefore);
    }
}

const BusState* BusMonitor::before() const
{
    return now() != nullptr && covers(mWantedBefore, mWanted) ? mFollower.before().get() : nullptr;
}

void BusMonitor::count()
{
    const Count count{now()->mMessages.mWriterCounter, Clock::now()};
    if (!mCounted) {
        mCounted = count;
    } else if (count.mTime - mCounted->mTime >= cShortestCount) {
        mRate = messageRate(mCounted->mCounter, count.mCounter, count.mTime - mCounted->mTime);
        mCounted = count;
    }
}

void BusMonitor::check(nanoseconds spentBefore)
{
    const BusIndex before(mChecked ? *mChecked : *now());
    mFindings = findAll(BusIndex(*now()), mChecked ? &before : nullptr);
    mChecked = mFollower.now();
    mNextCheck = Clock::now() + cCheckPause * (processorTime() - spentBefore);
}

} // namespace Inspect
