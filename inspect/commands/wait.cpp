#include "inspect/commands/wait.h"

#include "inspect/bus/bus_index.h"
#include "inspect/cli/durations.h"
#include "inspect/commands/shared_options.h"
#include "inspect/live/bus_follower.h"

#include <algorithm>
#include <memory>
#include <thread>

namespace Inspect {

namespace {

using Clock = std::chrono::steady_clock;

/// A change is seen within this, and a look.
constexpr std::chrono::milliseconds cPause{85};

/// The names that are still waited for, for a complaint.
std::string missing(const WaitOptions& options, const BusState& state)
{
    const BusIndex index(state);
    const auto isThere = [&](const std::string& name) {
        return std::ranges::any_of(state.mInterfaces, [&](const Interface& interface) {
            return interface.mName == name && options.mFilter.fits(interface, index.ownerOf(interface));
        });
    };
    std::string names;
    for (const std::string& name : options.mNames) {
        if (isThere(name) == options.mIsForGone) {
            appendQuoted(names, name);
        }
    }
    return names;
}

/// What is still waited for, in words; nothing when all is as it should be.
std::string look(const WaitOptions& options, BusFollower& follower)
{
    follower.look({.mProcesses = options.mFilter.mOwner.mApplication.has_value()});
    if (const auto& trouble = follower.trouble()) {
        return options.mIsForGone && trouble->isMissing() ? "" : trouble->what();
    }
    const std::string names = missing(options, *follower.now());
    return names.empty() ? "" : (options.mIsForGone ? "still present: " : "missing: ") + names;
}

Run addWaitOptions(CLI::App& part)
{
    const auto options = std::make_shared<WaitOptions>();
    options->mFilter.mState = oxa_zunic_registration_state_registered;
    addWords(part, options->mNames, "NAME", "Names of the interfaces to wait for");
    addChannelOption(part, options->mChannel);
    part.add_flag("--gone", options->mIsForGone, "Wait until none of them is present any more");
    part.add_option_function<std::string>(
            "--timeout", [options](const std::string& text) { options->mTimeout = readDuration("--timeout", text); },
            "Give up after this time: 10s, 500ms, 2m, 1h or none (default: 30s)")
        ->type_name("TIME");
    addFilterOptions(part, options->mFilter);
    part.footer("An interface counts as present if it is registered (see --state) and matches the\n"
                "filters.");
    return [options](std::ostream&) { return runWait(*options); };
}

} // namespace

ExitStatus runWait(const WaitOptions& options)
{
    BusFollower follower(options.mChannel);
    const Clock::time_point begin = Clock::now();
    for (;;) {
        // Asked before the look, so that the last one comes when the time is up.
        const Clock::time_point now = Clock::now();
        const bool isLast = options.mTimeout && now - begin >= *options.mTimeout;
        const std::string reason = look(options, follower);
        if (reason.empty()) {
            return eExitYes;
        }
        if (isLast) {
            complain("timed out: " + reason);
            return eExitTimeIsUp;
        }
        const Clock::time_point next = now + cPause;
        std::this_thread::sleep_until(options.mTimeout ? std::min(next, begin + *options.mTimeout) : next);
    }
}

const Command cWaitCommand{"wait", "Wait until interfaces are registered or gone",
                           "  zunic_inspect wait Clock --type skeleton     until Clock is provided\n"
                           "  zunic_inspect wait Clock Audio --timeout 2m  until both are present\n"
                           "  zunic_inspect wait Clock --gone --app clockd until clockd no longer has it\n",
                           addWaitOptions};

} // namespace Inspect
