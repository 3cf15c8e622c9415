#include "inspect/bus/times.h"

#include <array>
#include <cstdio>
#include <ctime>
#include <iomanip>
#include <sstream>
#include <string_view>

namespace Inspect {

using std::chrono::milliseconds;
using std::chrono::seconds;

WallTime wallTimeNow()
{
    return std::chrono::floor<milliseconds>(std::chrono::system_clock::now());
}

std::string utcText(WallTime time)
{
    const auto whole = std::chrono::floor<seconds>(time);
    const std::time_t sinceEpoch = whole.time_since_epoch().count();
    std::tm parts{};
    gmtime_r(&sinceEpoch, &parts);
    std::ostringstream text;
    text << std::put_time(&parts, "%Y-%m-%dT%H:%M:%S.") << std::setfill('0') << std::setw(3) << (time - whole).count()
         << 'Z';
    return text.str();
}

std::string clockText(WallTime time)
{
    const std::time_t sinceEpoch = std::chrono::floor<seconds>(time).time_since_epoch().count();
    std::tm local{};
    localtime_r(&sinceEpoch, &local);
    std::array<char, 16> text{};
    std::strftime(text.data(), text.size(), "%H:%M:%S", &local);
    return text.data();
}

std::optional<WallTime> timeOfUtcText(const std::string& text)
{
    std::tm parts{};
    int thousandths = 0;
    int length = 0;
    std::sscanf(text.c_str(), "%4d-%2d-%2dT%2d:%2d:%2d.%3dZ%n", &parts.tm_year, &parts.tm_mon, &parts.tm_mday,
                &parts.tm_hour, &parts.tm_min, &parts.tm_sec, &thousandths, &length);
    constexpr std::size_t cLength = std::string_view("2026-11-23T07:52:01.123Z").size();
    if (static_cast<std::size_t>(length) != cLength || text.size() != cLength) {
        return std::nullopt;
    }
    parts.tm_year -= 1900;
    parts.tm_mon -= 1;
    return WallTime(seconds(timegm(&parts)) + milliseconds(thousandths));
}

} // namespace Inspect
