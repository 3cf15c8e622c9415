#include "inspect/command_line/options.h"
#include "inspect/wait/wait.h"

#include <memory>

namespace Inspect {

namespace {

using std::chrono::milliseconds;

/// "500ms", "10s", "2m", "1h" or "none".
std::optional<milliseconds> readTimeout(std::string text)
{
    if (text == "none") {
        return std::nullopt;
    }
    const std::map<std::string, std::uint32_t> units{{"ms", 1}, {"s", 1000}, {"m", 60'000}, {"h", 3'600'000}};
    const CLI::AsNumberWithUnit inMilliseconds(units, CLI::AsNumberWithUnit::UNIT_REQUIRED);
    try {
        // The number that it puts in place of the text.
        if (text.find_first_of("+-") == std::string::npos && inMilliseconds(text).empty()) {
            return milliseconds(std::stoul(text));
        }
    } catch (const CLI::ValidationError&) {
        // As below.
    }
    throw UsageMistake("--timeout: expected a time such as 10s, 500ms, 2m or 1h (49 days at most), or none");
}

Run addWaitOptions(CLI::App& part)
{
    const auto options = std::make_shared<WaitOptions>();
    options->mFilter.mState = oxa_zunic_registration_state_registered;
    addWords(part, options->mNames, "NAME", "The names of the interfaces to wait for");
    addChannelOption(part, options->mChannel);
    part.add_flag("--gone", options->mIsForGone, "Wait until none of them is there any more");
    part.add_option_function<std::string>(
            "--timeout", [options](const std::string& text) { options->mTimeout = readTimeout(text); },
            "Give up after this: 10s, 500ms, 2m, 1h, or none (30s)")
        ->type_name("TIME");
    addFilterOptions(part, options->mFilter);
    part.footer("An interface is there when it is registered (see --state) and fits the filters.");
    return [options](std::ostream&) { return runWait(*options); };
}

} // namespace

const Command cWaitCommand{"wait", "Wait until interfaces are registered, or gone",
                           "  zunic_inspect wait Clock --type skeleton     until somebody provides Clock\n"
                           "  zunic_inspect wait Clock Audio --timeout 2m  until both are there, two minutes at most\n"
                           "  zunic_inspect wait Clock --gone --app clockd until clockd has taken it back\n",
                           addWaitOptions};

} // namespace Inspect
