#include "inspect/commands/traffic/traffic.h"

#include "inspect/cli/durations.h"
#include "inspect/commands/shared_options.h"
#include "inspect/commands/traffic/sampling.h"
#include "inspect/live/bus_follower.h"

#include <algorithm>
#include <csignal>
#include <memory>

namespace Inspect {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

/// Between two looks for names, which take the registry mutex.
constexpr std::chrono::seconds cLookPause{5};
constexpr Wanted cLookWanted{.mProcesses = true};

struct TrafficOptions
{
    std::string mChannel = "OXABus";
    std::optional<milliseconds> mFor = std::chrono::seconds(5); ///< none: until a signal
    milliseconds mInterval{1};
    By mBy = By::eSender;
    InterfaceFilter mFilter;
    bool mJson = false;
    TableStyle mStyle;
};

/// Ctrl-C and SIGTERM, which end the samples and not the program. They are taken in `waitUntil` only.
class EndingSignals
{
public:
    EndingSignals()
    {
        sigemptyset(&mSignals);
        sigaddset(&mSignals, SIGINT);
        sigaddset(&mSignals, SIGTERM);
        sigprocmask(SIG_BLOCK, &mSignals, &mBefore);
    }
    ~EndingSignals()
    {
        while (!waitUntil({})) {
            // Another one came while the samples ended.
        }
        sigprocmask(SIG_SETMASK, &mBefore, nullptr);
    }

    EndingSignals(const EndingSignals&) = delete;
    EndingSignals& operator=(const EndingSignals&) = delete;

    /// False when a signal came before.
    bool waitUntil(Clock::time_point then) const
    {
        const auto left = std::max(Clock::duration(0), then - Clock::now());
        const auto seconds = std::chrono::floor<std::chrono::seconds>(left);
        const timespec time{seconds.count(), std::chrono::nanoseconds(left - seconds).count()};
        const int signal = sigtimedwait(&mSignals, nullptr, &time);
        return signal != SIGINT && signal != SIGTERM; // Otherwise the time is up, or the program was continued.
    }

private:
    sigset_t mSignals{};
    sigset_t mBefore{};
};

void learn(const BusFollower& follower, Sampling& sampling)
{
    if (follower.now() != nullptr) {
        sampling.learn(*follower.now());
    }
}

/// Samples until the time is up or a signal comes.
void takeSamples(const TrafficOptions& options, Sampling& sampling, BusFollower& follower)
{
    const EndingSignals signals;
    const auto look = [&] {
        follower.look(cLookWanted);
        learn(follower, sampling);
        sampling.attachAgain();
    };
    const Clock::time_point begin = Clock::now();
    const auto end = options.mFor ? begin + *options.mFor : Clock::time_point::max();
    auto nextLook = begin + cLookPause;
    for (bool goesOn = true; goesOn;) {
        goesOn = signals.waitUntil(std::min(sampling.next(), end)) && Clock::now() < end;
        sampling.sample();
        if (const auto now = Clock::now(); now >= nextLook) {
            look();
            nextLook = now + cLookPause;
        }
    }
    look();
}

ExitStatus runTraffic(const TrafficOptions& options, std::ostream& out)
{
    BusFollower follower(options.mChannel, BusFollower::Past::eRemembered);
    follower.look(cLookWanted);
    Sampling sampling(options.mChannel, options.mInterval, options.mJson || options.mBy == By::ePair);
    if (follower.trouble()) {
        complain(std::string(follower.trouble()->what()) + "; names are unknown"); // Samples need no mutex.
    }
    learn(follower, sampling);
    takeSamples(options, sampling, follower);
    if (options.mJson) {
        writeTrafficJson(out, sampling.traffic(), options.mFilter);
    } else {
        writeTrafficText(out, sampling.traffic(), options.mBy, options.mFilter, options.mStyle);
    }
    return eExitYes;
}

void addTimeOptions(CLI::App& part, TrafficOptions& options)
{
    part.add_option_function<std::string>(
            "--for",
            [&options](const std::string& text) {
                options.mFor = readDuration("--for", text);
                if (options.mFor == milliseconds(0)) {
                    throw UsageMistake("--for: expected a time above 0, or none");
                }
            },
            "Sample for this time: 30s, 500ms, 2m, 1h, or none: until Ctrl-C (default: 5s)")
        ->type_name("TIME");
    part.add_option_function<std::string>(
            "--interval",
            [&options](const std::string& text) {
                options.mInterval = readInterval("--interval", text, milliseconds(1));
            },
            "Time between two samples: 1ms, 20ms; longer if they would take more than a tenth of a processor "
            "(default: 1ms)")
        ->type_name("TIME");
}

Run addTrafficOptions(CLI::App& part)
{
    const auto options = std::make_shared<TrafficOptions>();
    addChannelOption(part, options->mChannel);
    part.add_option_function<std::string>(
            "--from",
            [](const std::string&) { throw UsageMistake("--from: a saved state has no traffic; sample a live bus"); })
        ->group(""); // Not shown.
    addTimeOptions(part, *options);
    auto* const json = part.add_flag("--json", options->mJson, "Print JSON instead of a table, with rows of each kind");
    part.add_option_function<std::string>(
            "--by",
            [options](const std::string& word) {
                options->mBy = word == "pair" ? By::ePair : word == "receiver" ? By::eReceiver : By::eSender;
            },
            "A row for each sender (default), receiver or pair")
        ->check(CLI::IsMember({"sender", "receiver", "pair"}).description(""))
        ->type_name("WORD")
        ->excludes(json);
    addStyleOptions(part, options->mStyle);
    part.add_option("--name", options->mFilter.mName, "Only names that match the shell pattern")
        ->type_name("PATTERN")
        ->group("Filters");
    addFilterOptions(part, options->mFilter);
    part.footer("Filters apply to the receivers with --by receiver, else to the senders; the last\n"
                "line is about all messages. Ctrl-C ends sampling and prints the result so far.\n"
                "Messages that stay for less than two intervals can be missed.");
    return [options](std::ostream& out) { return runTraffic(*options, out); };
}

} // namespace

const Command cTrafficCommand{"traffic", "Measure who sends how much, and how long messages stay",
                              "  zunic_inspect traffic                        5 seconds of the channel OXABus\n"
                              "  zunic_inspect traffic --for 1m --by pair     who sends to whom, for a minute\n"
                              "  zunic_inspect traffic --app 'nav*'           what nav* sends\n"
                              "  zunic_inspect traffic --json | jq '.senders[0]'\n",
                              addTrafficOptions};

} // namespace Inspect
