#ifndef INSPECT_COMMANDS_TRAFFIC_SAMPLING_H
#define INSPECT_COMMANDS_TRAFFIC_SAMPLING_H

#include "inspect/commands/traffic/traffic_report.h"
#include "inspect/live/message_sampler.h"

#include <chrono>
#include <string>

namespace Inspect {

/// How far samples are apart: as far as they shall be, or farther, so that they take a tenth of a core at most.
class Pace
{
public:
    explicit Pace(std::chrono::nanoseconds interval) : mInterval(interval) {}

    /// The processor time that went by from one sample to the next.
    void note(std::chrono::nanoseconds spent);

    std::chrono::nanoseconds interval() const;

private:
    std::chrono::nanoseconds mInterval;
    std::chrono::nanoseconds mCost{}; ///< of a sample, over the last ones
};

/// Samples a channel, for the caller to say when.
class Sampling
{
public:
    /// Takes the first sample. Throws NoChannel.
    Sampling(const std::string& channel, std::chrono::nanoseconds interval, bool arePairsWanted);

    /// Learns names.
    void learn(const BusState& state);

    /// When the next sample is due.
    Sample::Time next() const { return mNext; }
    void sample();

    /// The channel may have gone, or have been hosted again: samples go on with what there is.
    void attachAgain();

    const Traffic& traffic() const { return mTraffic; }

private:
    MessageSampler mSampler;
    Sample mSample; ///< its memory is used again
    Traffic mTraffic;
    Pace mPace;
    std::chrono::nanoseconds mSpent; ///< until the last sample, or until it was attached again
    Sample::Time mNext;
};

} // namespace Inspect

#endif
