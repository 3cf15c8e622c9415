#ifndef BENCH_HOLD_TIME_H
#define BENCH_HOLD_TIME_H

#include <cstddef>
#include <string>

namespace Bench {

/// How a snapshot treats the registry mutex, and what the least possible would be.
struct HoldTime
{
    double median;           ///< microseconds from the return of the lock to the call of the unlock
    double percentile99;     ///< the same
    double copyMedian;       ///< microseconds of one memcpy of the same bytes between buffers that were touched before
    std::size_t allocations; ///< made while the mutex was held, in all snapshots together
};

/// Takes snapshots of the channel, interleaved with the copies.
HoldTime measureHoldTime(const std::string& channelName, int snapshots);

} // namespace Bench

#endif
