#ifndef INSPECT_COMMANDS_TRAFFIC_TIME_HISTOGRAM_H
#define INSPECT_COMMANDS_TRAFFIC_TIME_HISTOGRAM_H

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace Inspect {

/// How often which times occurred. It takes at most 4 kB however many there are: times are counted in classes that are
/// 1/32 of a time wide at most, up to 9 hours. The longest is exact.
class TimeHistogram
{
public:
    void add(std::chrono::microseconds time);

    std::uint64_t count() const { return mCount; }
    std::chrono::microseconds longest() const { return mLongest; }
    /// The time that this share of them (0 to 1) does not exceed, to 1.6 %; 0 when there are none.
    std::chrono::microseconds quantile(double share) const;

private:
    std::vector<std::uint32_t> mClasses; ///< up to the highest that has one
    std::uint64_t mCount = 0;
    std::chrono::microseconds mLongest{};
};

} // namespace Inspect

#endif
