#ifndef INSPECT_BUS_TIMES_H
#define INSPECT_BUS_TIMES_H

#include <chrono>
#include <optional>
#include <string>

namespace Inspect {

/// A moment in UTC, to the millisecond.
using WallTime = std::chrono::sys_time<std::chrono::milliseconds>;

WallTime wallTimeNow();

/// "2026-11-23T07:52:01.123Z".
std::string utcText(WallTime time);

/// The time of day in the local time zone: "08:52:01".
std::string clockText(WallTime time);

/// The reverse of `utcText`; none when the text is something else.
std::optional<WallTime> timeOfUtcText(const std::string& text);

} // namespace Inspect

#endif
