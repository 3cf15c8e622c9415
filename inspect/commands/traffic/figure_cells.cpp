#include "inspect/commands/traffic/figure_cells.h"

#include "inspect/view/cells.h"

#include <array>

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
/// one after: it stayed for one interval on average, and two at most.
Cell stayCell(const TimeHistogram& stays, microseconds time, microseconds interval)
{
    if (stays.count() == 0) {
        return {};
    }
    if (time >= interval * 3 / 2) {
        return {timeText(time)};
    }
    std::string text("<");
    text += timeText(interval);
    if (const std::size_t fraction = text.find(".0ms"); fraction != std::string::npos) {
        text.erase(fraction, 2);
    }
    return {text};
}

} // namespace Inspect
