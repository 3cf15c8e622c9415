#include "inspect/commands/traffic/sampling.h"

#include "inspect/live/processor_time.h"

#include <algorithm>

namespace Inspect {

namespace {

using std::chrono::nanoseconds;

constexpr int cShareOfACore = 10; ///< one in so many
constexpr int cSmoothing = 8;

} // namespace

void Pace::note(nanoseconds spent)
{
    mCost += (spent - mCost) / cSmoothing;
}

nanoseconds Pace::interval() const
{
    return std::max(mInterval, cShareOfACore * mCost);
}

Sampling::Sampling(const std::string& channel, nanoseconds interval, bool arePairsWanted)
    : mSampler(channel),
      mTraffic{channel, {}, wallTimeNow(), {}, Tally(arePairsWanted)},
      mPace(interval),
      mSpent(processorTime()),
      mNext(std::chrono::steady_clock::now())
{
    sample();
}

void Sampling::sample()
{
    if (mSampler.take(mSample)) {
        mTraffic.mTally.add(mSample);
    } else {
        mTraffic.mIsGone = true;
    }
    const nanoseconds spent = processorTime();
    mPace.note(spent - mSpent);
    mSpent = spent;
    mNext = std::max(mNext + mPace.interval(), mSample.mEnd);
}

void Sampling::learn(const BusState& state)
{
    mTraffic.mHost = state.mHost;
    mTraffic.mParties.add(state);
}

void Sampling::attachAgain()
{
    const MessageSampler::Found found = mSampler.attachAgain();
    if (found == MessageSampler::Found::eAnother) {
        mTraffic.mTally.startOver();
    }
    mTraffic.mIsGone = found == MessageSampler::Found::eNone;
    mSpent = processorTime(); // Looks are no part of the samples' cost.
}

} // namespace Inspect
