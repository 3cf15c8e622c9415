#ifndef INSPECT_BUS_MESSAGE_RATE_H
#define INSPECT_BUS_MESSAGE_RATE_H

#include <chrono>
#include <cstddef>
#include <cstdint>

// A bus in numbers.

namespace Inspect {

struct Rate
{
    double mPerSecond = 0;
    /// It may be higher: the counter may have wrapped once more than its two values show.
    bool mIsAtLeast = false;

    bool operator==(const Rate& other) const = default;
};

/// The rate between two values of a writer counter, which wraps at 16 bits, that are `elapsed` apart. No bus is assumed
/// to write more than 50,000 messages a second, unless the values come near that by themselves.
Rate messageRate(std::uint16_t before, std::uint16_t now, std::chrono::duration<double> elapsed);

} // namespace Inspect

#endif
