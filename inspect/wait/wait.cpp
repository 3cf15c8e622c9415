#include "inspect/wait/wait.h"

#include "inspect/relations/relations.h"
#include "inspect/state/look_memory.h"
#include "inspect/state/take_state.h"

#include <algorithm>
#include <thread>

namespace Inspect {

namespace {

using Clock = std::chrono::steady_clock;

/// A change is seen within this, and a look.
constexpr std::chrono::milliseconds cPause{85};

/// The names that are still waited for, for a complaint.
std::string missing(const WaitOptions& options, const BusState& state)
{
    const Owners owners(state);
    const auto isThere = [&](const std::string& name) {
        return std::ranges::any_of(state.mInterfaces, [&](const Interface& interface) {
            return interface.mName == name && options.mFilter.fits(interface, owners.of(interface));
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

/// What is still waited for, in words; nothing when all is as it should be. The channel is attached to for each look
/// anew: it may have been hosted anew.
std::string look(const WaitOptions& options)
{
    try {
        const bool areProcessesWanted = options.mFilter.mOwner.mApplication.has_value();
        const std::string names = missing(options, takeState(options.mChannel, {.mProcesses = areProcessesWanted}));
        return names.empty() ? "" : (options.mIsForGone ? "still there: " : "not there: ") + names;
    } catch (const NoChannel& error) {
        return options.mIsForGone && error.isMissing() ? "" : error.what();
    }
}

} // namespace

ExitStatus runWait(const WaitOptions& options)
{
    LookMemory memory;
    const Clock::time_point begin = Clock::now();
    for (;;) {
        // Asked before the look, so that the last one comes when the time is up.
        const Clock::time_point now = Clock::now();
        const bool isLast = options.mTimeout && now - begin >= *options.mTimeout;
        memory.beginAnew();
        const std::string reason = look(options);
        if (reason.empty()) {
            return eExitYes;
        }
        if (isLast) {
            complain("time is up: " + reason);
            return eExitTimeIsUp;
        }
        const Clock::time_point next = now + cPause;
        std::this_thread::sleep_until(options.mTimeout ? std::min(next, begin + *options.mTimeout) : next);
    }
}

} // namespace Inspect
