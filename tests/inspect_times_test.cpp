#include "inspect/bus/times.h"
#include "inspect/cli/command.h"
#include "inspect/cli/durations.h"

#include <cstdlib>
#include <ctime>
#include <gtest/gtest.h>

using namespace Inspect;
using namespace std::chrono_literals;

namespace {

TEST(Durations, AreReadInEachUnitAndWrittenShort)
{
    const std::tuple<const char*, std::chrono::milliseconds, const char*> cases[] = {
        {"0", 0ms, "0ms"},           {"1ms", 1ms, "1ms"},        {"999ms", 999ms, "999ms"},
        {"1000ms", 1s, "1s"},        {"1500ms", 1500ms, "1.5s"}, {"1s", 1s, "1s"},
        {"10s", 10s, "10s"},         {"1m", 60s, "60s"},         {"2h", 2h, "7200s"},
        {"1193h", 1193h, "4294800s"}};
    for (const auto& [text, duration, shown] : cases) {
        EXPECT_EQ(readDuration("--for", text), duration) << text;
        EXPECT_EQ(durationText(duration), shown);
    }
    EXPECT_EQ(readDuration("--for", "none"), std::nullopt);
    for (const char* const text : {"", "s", " 1s", "+1s", "-1s", "1", "1x", "1.5s", "1194h", "None"}) {
        EXPECT_THROW(readDuration("--for", text), UsageMistake) << text;
    }
}

TEST(Durations, OfIntervalsHaveAShortest)
{
    EXPECT_EQ(readInterval("--interval", "100ms", 100ms), 100ms);
    EXPECT_EQ(readInterval("--interval", "1h", 100ms), 1h);
    for (const char* const text : {"99ms", "0", "none"}) {
        EXPECT_THROW(readInterval("--interval", text, 100ms), UsageMistake) << text;
    }
}

TEST(Times, AreSavedInUtcAndShownInTheLocalTimeZone)
{
    const WallTime time(std::chrono::sys_days(std::chrono::year(2026) / 11 / 23) + 23h + 4min + 5s + 6ms);
    setenv("TZ", "FAR-5:30", 1);
    tzset();
    EXPECT_EQ(clockText(time), "04:34:05");
    EXPECT_EQ(utcText(time), "2026-11-23T23:04:05.006Z");
    EXPECT_EQ(timeOfUtcText("2026-11-23T23:04:05.006Z"), time);
    unsetenv("TZ");
    tzset();
    for (const char* const text :
         {"", "2026-11-23T23:04:05.006", "2026-11-23 23:04:05.006Z", "2026-11-23T23:04:05Z",
          "2026-11-23T23:04:05.006Z ", "2026-11-23T23:04:05.06Z", "2026-11-23T23:04:05.006+"}) {
        EXPECT_EQ(timeOfUtcText(text), std::nullopt) << text;
    }
}

} // namespace
