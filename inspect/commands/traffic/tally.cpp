#include "inspect/commands/traffic/tally.h"

#include "inspect/bus/message_rate.h"

#include <algorithm>

namespace Inspect {

namespace {

using std::chrono::microseconds;

/// With their times, so many pairs take less than 35 MB.
constexpr std::size_t cMostPairs = 8'192;

/// A writer may move the storage's counter before or after it shows its message, others beside it: so far apart may the
/// two counters be.
constexpr std::uint16_t cTolerance = 64;

} // namespace

void Tally::add(const Sample& sample)
{
    follow(sample);
    for (const std::uint32_t slot : sample.mLeft) {
        leave(slot, sample.mBegin);
    }
    for (const NewMessage& message : sample.mCame) {
        check(message, sample);
        come(message, sample.mBegin);
    }
    mCounterBefore = sample.mCounterBefore;
    mCounterAfter = sample.mCounterAfter;
    mLast = sample.mBegin;
    mLastEnd = sample.mEnd;
}

/// The counter and the slots in use.
void Tally::follow(const Sample& sample)
{
    if (mSamples++ == 0) {
        mFirst = sample.mBegin;
    } else {
        mIntervals.add(std::chrono::duration_cast<microseconds>(sample.mBegin - mLast));
    }
    if (mSamplesOfStorage++ > 0) {
        mCounted += static_cast<std::uint16_t>(sample.mCounterAfter - mCounterAfter);
        mHasGap |= messageRate(mCounterAfter, sample.mCounterAfter, sample.mEnd - mLastEnd).mIsAtLeast;
    }
    mSlots = sample.mSlots;
    mInUse.resize(std::max<std::size_t>(mInUse.size(), std::size_t{sample.mInUse} + 1));
    ++mInUse[sample.mInUse];
}

void Tally::startOver()
{
    for (Rows* const rows : {&mSenders, &mReceivers, &mPairs}) {
        for (auto& [route, figures] : *rows) {
            figures.mStill = 0;
        }
    }
    mOtherPairs.mStill = 0;
    mPresent.clear();
    mSamplesOfStorage = 0;
    mHasStartedOver = true;
}

void Tally::leave(std::uint32_t slot, Sample::Time time)
{
    if (slot >= mPresent.size() || !mPresent[slot]) {
        return;
    }
    const Present& present = *mPresent[slot];
    const auto stay = std::chrono::duration_cast<microseconds>(time - present.mSince);
    forEachRow(present, [&](Figures& figures) {
        --figures.mStill;
        if (!present.mIsOld) {
            figures.mStays.add(stay);
        }
    });
    mPresent[slot].reset();
}

void Tally::come(const NewMessage& message, Sample::Time time)
{
    leave(message.mSlot, time);
    mPresent.resize(std::max<std::size_t>(mPresent.size(), std::size_t{message.mSlot} + 1));
    const Present& present =
        mPresent[message.mSlot].emplace(Present{time, message.mSenderId, isOld(message), message.mReceivers});
    mSeen += present.mIsOld ? 0 : 1;
    makeRows(present);
    forEachRow(present, [&](Figures& figures) {
        ++figures.mStill;
        if (!present.mIsOld) {
            ++figures.mMessages;
            figures.mUserDataSize += message.mUserDataSize;
        }
    });
}

/// As far as they lack; notes who is on the other side.
void Tally::makeRows(const Present& present)
{
    const std::uint16_t sender = present.mSenderId;
    Figures& ofSender = mSenders[{sender, Route::cAny}];
    Channel::forEachReceiver(present.mReceivers, [&](std::uint16_t receiver) {
        Figures& ofReceiver = mReceivers[{Route::cAny, receiver}];
        if (!present.mIsOld) {
            ofSender.mOthers.set(receiver);
            ofReceiver.mOthers.set(sender);
        }
        if (mArePairsWanted && mPairs.size() < cMostPairs) {
            mPairs[{sender, receiver}];
        }
    });
}

/// What comes in the first sample was there before it. So was what was posted behind the back of its pass, which comes
/// in the second one: its counter was counted by then.
bool Tally::isOld(const NewMessage& message) const
{
    const auto behind = static_cast<std::uint16_t>(mCounterAfter - message.mWriterCounter);
    return mSamplesOfStorage == 1 || (mSamplesOfStorage == 2 && behind < cTolerance);
}

/// A message that came between two samples has a counter between theirs.
void Tally::check(const NewMessage& message, const Sample& sample)
{
    if (mSamplesOfStorage > 1) {
        const auto first = static_cast<std::uint16_t>(mCounterBefore - cTolerance);
        const auto range = static_cast<std::uint16_t>(sample.mCounterAfter - mCounterBefore) + 2 * cTolerance;
        mIsInconsistent |= static_cast<std::uint16_t>(message.mWriterCounter - first) > range;
    }
}

/// Calls `visit` with the figures of each row that the message belongs to.
template <typename Visitor>
void Tally::forEachRow(const Present& present, Visitor visit)
{
    const std::uint16_t sender = present.mSenderId;
    visit(mSenders[{sender, Route::cAny}]);
    Channel::forEachReceiver(present.mReceivers, [&](std::uint16_t receiver) {
        visit(mReceivers[{Route::cAny, receiver}]);
        if (mArePairsWanted) {
            const auto pair = mPairs.find({sender, receiver});
            visit(pair == mPairs.end() ? mOtherPairs : pair->second);
        }
    });
}

const char* Tally::doubt() const
{
    return mHasStartedOver                 ? "the channel was hosted again"
           : mHasGap                       ? "the message counter may have wrapped between two samples"
           : mIsInconsistent               ? "messages are not numbered by the message counter"
           : mSeen > mCounted + cTolerance ? "messages are not numbered by the message counter"
                                           : nullptr;
}

std::optional<std::uint64_t> Tally::counted() const
{
    // A message may be seen before the counter is moved on.
    return doubt() == nullptr ? std::optional(std::max(mCounted, mSeen)) : std::nullopt;
}

std::uint32_t Tally::mostInUse() const
{
    return mInUse.empty() ? 0 : static_cast<std::uint32_t>(mInUse.size() - 1);
}

std::uint32_t Tally::medianInUse() const
{
    std::uint64_t reached = 0;
    std::uint32_t slots = 0;
    while (slots < mInUse.size() && (reached += mInUse[slots]) * 2 < mSamples) {
        ++slots;
    }
    return slots;
}

} // namespace Inspect
