#include "inspect/commands/top/follower.h"

#include <ctime>
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

nanoseconds processorTime()
{
    timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return std::chrono::seconds(time.tv_sec) + nanoseconds(time.tv_nsec);
}

void Follower::look(const Wanted& wanted)
{
    const bool isCheckDue = mNow.mState == nullptr || Clock::now() >= mNextCheck;
    const nanoseconds spentBefore = processorTime();
    mBefore = std::exchange(mNow, {});
    try {
        take(isCheckDue ? Wanted::everything() : wanted);
        mNow.mWanted = wanted;
    } catch (const NoChannel& error) {
        mTrouble = error.what();
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

const BusState* Follower::before() const
{
    return mNow.mState && covers(mBefore.mWanted, mNow.mWanted) ? mBefore.mState.get() : nullptr;
}

void Follower::take(const Wanted& wanted)
{
    mMemory.beginAnew();
    mNow.mState = std::make_shared<const BusState>(takeState(mChannel, wanted));
}

void Follower::count()
{
    const Count now{mNow.mState->mMessages.mWriterCounter, Clock::now()};
    if (!mCounted) {
        mCounted = now;
    } else if (now.mTime - mCounted->mTime >= cShortestCount) {
        mRate = messageRate(mCounted->mCounter, now.mCounter, now.mTime - mCounted->mTime);
        mCounted = now;
    }
}

void Follower::check(nanoseconds spentBefore)
{
    mFindings = findAll(*mNow.mState, mChecked.get());
    mChecked = mNow.mState;
    mNextCheck = Clock::now() + cCheckPause * (processorTime() - spentBefore);
}

} // namespace Inspect
