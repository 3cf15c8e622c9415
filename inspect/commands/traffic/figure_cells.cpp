#include "inspect/commands/traffic/figure_cells.h"

#include <array>
#include <cstdio>

namespace Inspect {

namespace {

using std::chrono::microseconds;

double perSecond(std::uint64_t count, const Tally& tally)
{
    const double seconds = tally.elapsed().count();
    return seconds > 0 ? static_cast<double>(count) / seconds : 0;
}

std::string timeText(microseconds time)
{
    const auto milliseconds = static_cast<double>(time.count()) / 1000;
    return milliseconds < 9.95    ? formatted("%.1fms", milliseconds)
           : milliseconds < 9'999 ? formatted("%.0fms", milliseconds)
                                  : formatted("%.1fs", milliseconds / 1000);
}

} // namespace

std::string formatted(const char* format, double number)
{
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), format, number);
    return text.data();
}

Cell rateCell(std::uint64_t count, const Tally& tally)
{
    return {formatted("%.1f", perSecond(count, tally))};
}

Cell sizeCell(std::uint64_t size, const Tally& tally)
{
    constexpr std::array cUnits{"", "k", "M", "G", "T", "P"};
    double number = perSecond(size, tally);
    std::size_t unit = 0;
    for (; number >= 999.5 && unit + 1 < cUnits.size(); ++unit) {
        number /= 1000;
    }
    return {formatted(unit == 0 ? "%.0f" : "%.1f", number) + cUnits[unit]};
}

/// Of a message that one sample only saw, no more is known than that it came after the one before, and left before the
/// one after.
Cell stayCell(const TimeHistogram& stays, microseconds time, microseconds interval)
{
    if (stays.count() == 0) {
        return {};
    }
    const bool isSeenOnce = time < interval * 3 / 2;
    const std::string text = timeText(isSeenOnce ? 2 * interval : time);
    return {isSeenOnce ? "<" + text : text};
}

} // namespace Inspect
