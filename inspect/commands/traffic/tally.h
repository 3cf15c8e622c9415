#ifndef INSPECT_COMMANDS_TRAFFIC_TALLY_H
#define INSPECT_COMMANDS_TRAFFIC_TALLY_H

#include "inspect/commands/traffic/time_histogram.h"
#include "inspect/live/message_sampler.h"

#include <bitset>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <unordered_map>
#include <vector>

namespace Inspect {

/// The messages of one sender, to one receiver, or from the one to the other, as far as samples saw them.
struct Figures
{
    std::uint64_t mMessages = 0;              ///< that came between the first sample and the last
    std::uint64_t mUserDataSize = 0;          ///< of these
    std::bitset<Channel::cTableSize> mOthers; ///< their receivers; of a receiver their senders
    std::uint64_t mStill = 0;                 ///< that the last sample saw, those from before the first one included
    TimeHistogram mStays;                     ///< of those that came and left
};

/// Of whose messages figures are: an id that is not given stands for any.
struct Route
{
    static constexpr std::uint16_t cAny = 0xFFFF;

    std::uint16_t mSenderId = cAny;
    std::uint16_t mReceiverId = cAny;

    auto operator<=>(const Route& other) const = default;
};

struct RouteHash
{
    std::size_t operator()(const Route& route) const
    {
        return std::size_t{route.mSenderId} * (Channel::cTableSize + 1) + route.mReceiverId;
    }
};

/// Adds up samples of one storage.
class Tally
{
public:
    using Rows = std::unordered_map<Route, Figures, RouteHash>;

    /// Figures of pairs take time and memory.
    explicit Tally(bool arePairsWanted) : mArePairsWanted(arePairsWanted) {}

    void add(const Sample& sample);

    /// The next sample is of another storage, about which nothing is known.
    void startOver();

    const Rows& senders() const { return mSenders; }
    const Rows& receivers() const { return mReceivers; }
    const Rows& pairs() const { return mPairs; }
    /// Of those pairs together that have no row, as there are too many.
    const Figures& otherPairs() const { return mOtherPairs; }

    std::uint64_t samples() const { return mSamples; }
    /// From the first sample to the last.
    std::chrono::duration<double> elapsed() const { return mLast - mFirst; }
    /// The median of the time between two samples; 0 of a single one.
    std::chrono::microseconds interval() const { return mIntervals.quantile(0.5); }
    std::chrono::microseconds longestInterval() const { return mIntervals.longest(); }

    /// Messages that came after the first sample; each was seen.
    std::uint64_t seen() const { return mSeen; }
    /// By the storage's counter. None when that is unknown: see `doubt`.
    std::optional<std::uint64_t> counted() const;
    /// Why the number is unknown; null when it is known.
    const char* doubt() const;

    std::uint32_t slots() const { return mSlots; }
    std::uint32_t mostInUse() const;
    std::uint32_t medianInUse() const;

private:
    struct Present
    {
        Sample::Time mSince;
        std::uint16_t mSenderId;
        bool mIsOld; ///< it was there before the first sample
        oxa_zunic_receiver_bitfield_struct mReceivers;
    };

    void follow(const Sample& sample);
    void leave(std::uint32_t slot, Sample::Time time);
    void come(const NewMessage& message, Sample::Time time);
    bool isOld(const NewMessage& message) const;
    void check(const NewMessage& message, const Sample& sample);
    void makeRows(const Present& present);
    template <typename Visitor>
    void forEachRow(const Present& present, Visitor visit);

    bool mArePairsWanted;
    Rows mSenders;
    Rows mReceivers;
    Rows mPairs;
    Figures mOtherPairs;
    std::vector<std::optional<Present>> mPresent; ///< by slot

    std::uint64_t mSamples = 0;
    std::uint64_t mSamplesOfStorage = 0; ///< since it started over
    Sample::Time mFirst;
    Sample::Time mLast;
    Sample::Time mLastEnd;
    TimeHistogram mIntervals;
    std::uint16_t mCounterBefore = 0; ///< as the last sample saw it
    std::uint16_t mCounterAfter = 0;
    std::uint64_t mCounted = 0;
    std::uint64_t mSeen = 0;
    bool mHasGap = false;
    bool mIsInconsistent = false;
    bool mHasStartedOver = false;

    std::uint32_t mSlots = 0;
    std::vector<std::uint32_t> mInUse; ///< samples, by the number of slots in use
};

} // namespace Inspect

#endif
