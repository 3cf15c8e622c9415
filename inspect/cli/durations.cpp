#include "inspect/cli/durations.h"

#include "inspect/cli/command.h"

#include <CLI/CLI.hpp>

#include <array>
#include <cstdint>
#include <cstdio>
#include <map>

namespace Inspect {

using std::chrono::milliseconds;

std::optional<milliseconds> readDuration(const char* option, const std::string& text)
{
    if (text == "none") {
        return std::nullopt;
    }
    if (text == "0") {
        return milliseconds(0);
    }
    const std::map<std::string, std::uint32_t> units{{"ms", 1}, {"s", 1000}, {"m", 60'000}, {"h", 3'600'000}};
    const CLI::AsNumberWithUnit inMilliseconds(units, CLI::AsNumberWithUnit::UNIT_REQUIRED);
    std::string number = text; // The validator puts the number in place of the text.
    try {
        if (text.find_first_of("0123456789") == 0 && inMilliseconds(number).empty()) {
            return milliseconds(std::stoul(number));
        }
    } catch (const CLI::ValidationError&) {
        // As below.
    }
    throw UsageMistake(std::string(option) +
                       ": expected a time such as 10s, 500ms, 2m or 1h (at most 49 days), 0 or none");
}

milliseconds readInterval(const char* option, const std::string& text, milliseconds shortest)
{
    const auto interval = readDuration(option, text);
    if (!interval || *interval < shortest) {
        const bool isAny = shortest == milliseconds(1);
        throw UsageMistake(std::string(option) + ": expected " +
                           (isAny ? "a time above 0" : "at least " + durationText(shortest)));
    }
    return *interval;
}

std::string durationText(milliseconds duration)
{
    const auto count = duration.count();
    if (count < 1000) {
        return std::to_string(count) + "ms";
    }
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.*fs", count % 1000 == 0 ? 0 : 1, static_cast<double>(count) / 1000);
    return text.data();
}

} // namespace Inspect
