#include "inspect/commands/traffic/time_histogram.h"

#include <algorithm>
#include <bit>
#include <cmath>

namespace Inspect {

namespace {

using std::chrono::microseconds;

// Below cParts, each number has a class of its own; from there on, each power of two has cParts classes.
constexpr int cPartBits = 5;
constexpr std::uint64_t cParts = 1U << cPartBits;
constexpr std::uint64_t cMost = (std::uint64_t{1} << 35) - 1;

std::size_t classOf(std::uint64_t number)
{
    if (number < cParts) {
        return number;
    }
    const int shift = static_cast<int>(std::bit_width(number)) - 1 - cPartBits;
    return (static_cast<std::size_t>(shift) << cPartBits) + (number >> shift);
}

/// The number in the middle of a class.
std::uint64_t middleOf(std::size_t place)
{
    if (place < 2 * cParts) {
        return place;
    }
    const std::size_t shift = (place >> cPartBits) - 1;
    return ((place - (shift << cPartBits)) << shift) + (std::uint64_t{1} << shift) / 2;
}

} // namespace

void TimeHistogram::add(microseconds time)
{
    const std::size_t place = classOf(std::clamp<std::uint64_t>(static_cast<std::uint64_t>(time.count()), 0, cMost));
    if (place >= mClasses.size()) {
        mClasses.resize(place + 1);
    }
    ++mClasses[place];
    ++mCount;
    mLongest = std::max(mLongest, time);
}

microseconds TimeHistogram::quantile(double share) const
{
    const auto wanted = static_cast<std::uint64_t>(std::ceil(share * static_cast<double>(mCount)));
    std::uint64_t reached = 0;
    for (std::size_t place = 0; place < mClasses.size(); ++place) {
        reached += mClasses[place];
        if (mClasses[place] > 0 && reached >= wanted) {
            return std::min(microseconds(middleOf(place)), mLongest);
        }
    }
    return microseconds(0);
}

} // namespace Inspect
