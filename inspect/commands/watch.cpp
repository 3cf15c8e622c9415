#include "inspect/commands/watch.h"

#include "inspect/changes/wording.h"
#include "inspect/cli/durations.h"
#include "inspect/cli/printable.h"
#include "inspect/commands/shared_options.h"
#include "inspect/findings/findings.h"
#include "inspect/live/bus_follower.h"
#include "inspect/saved/json_text.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <memory>
#include <poll.h>
#include <unistd.h>

namespace Inspect {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

/// All lines so far are written already.
void endAtOnce(int)
{
    _exit(eExitYes);
}

void endOnSignals()
{
    struct sigaction action = {};
    action.sa_handler = endAtOnce;
    for (const int signal : {SIGINT, SIGTERM}) {
        sigaction(signal, &action, nullptr);
    }
}

/// Waits until then; false when there is nobody to read standard output any more.
bool waitUntil(Clock::time_point then)
{
    for (;;) {
        const auto left = std::chrono::ceil<milliseconds>(then - Clock::now()).count();
        if (left <= 0) {
            return true;
        }
        pollfd reader{.fd = STDOUT_FILENO, .events = 0, .revents = 0};
        constexpr milliseconds::rep cLongest = 3'600'000;
        if (poll(&reader, 1, static_cast<int>(std::min(left, cLongest))) > 0) {
            return false;
        }
    }
}

/// Writes the lines. The wall clock can be set back; times of lines never go back.
class EventPrinter
{
public:
    EventPrinter(std::ostream& out, const ChangeOptions& options) : mOut(out), mOptions(options) {}

    void print(WallTime time, const Change& change) { write(time, lineOf(change), toJson(change)); }

    /// An event that is not about two states: "- channel OXABus: gone".
    void printChannel(WallTime time, const char* sign, const std::string& channel, const std::string& what)
    {
        const char* const change = *sign == '+' ? "added" : "removed";
        write(time, std::string(sign) + " channel " + printable(channel) + ": " + printable(what, Blanks::eKept),
              {{"change", change}, {"kind", "channel"}, {"channel", nameToJson(channel)}, {"what", nameToJson(what)}});
    }

    void print(WallTime time, const Finding& finding)
    {
        const Subject& subject = finding.mSubject;
        const bool isNamed = !subject.mName.empty();
        Json json{{"change", "found"}, {"kind", "finding"}};
        json.update(toJson(finding));
        write(time,
              std::string("! ") + finding.mKind->mCode + ' ' + subjectWord(subject.mKind) + ' ' +
                  std::to_string(subject.mId) + (isNamed ? ' ' + printable(subject.mName) : "") + ": " +
                  finding.mEvidence,
              json);
    }

private:
    void write(WallTime time, const std::string& line, const Json& json)
    {
        time = mLatest = std::max(mLatest, time);
        if (mOptions.mJson) {
            Json object{{"schema", cDiffSchema}, {"time", utcText(time)}};
            object.update(json);
            mOut << jsonText(object) << std::endl;
        } else {
            mOut << utcText(time) << ' ' << (mOptions.mColors ? colored(line) : line) << std::endl;
        }
    }

    std::ostream& mOut;
    const ChangeOptions& mOptions;
    WallTime mLatest{};
};

/// Findings that show only over time take two looks that are some time apart: what is on its way through the bus is in
/// its place by then. The states are those that `check` takes: they do not remember the names of dead processes.
class AwaitedFindings
{
public:
    explicit AwaitedFindings(const WatchOptions& options) : mOptions(options) {}

    /// Those that are waited for. Throws NoChannel.
    std::vector<Finding> look()
    {
        const Clock::time_point time = Clock::now();
        BusState now = takeState(mOptions.mChannel, Wanted::everything());
        const BusIndex older(mOlder ? *mOlder : now);
        std::vector<Finding> findings = findAll(BusIndex(now), mOlder ? &older : nullptr);
        std::erase_if(findings, [&](const Finding& finding) { return finding.mKind != mOptions.mUntil; });
        if (!mYounger || time - mYoungerTakenAt >= cApart) {
            mOlder = std::exchange(mYounger, std::move(now));
            mYoungerTakenAt = time;
        }
        return findings;
    }

private:
    static constexpr std::chrono::seconds cApart{2};

    const WatchOptions& mOptions;
    std::optional<BusState> mOlder; ///< so old at least
    std::optional<BusState> mYounger;
    Clock::time_point mYoungerTakenAt;
};

class Watch
{
public:
    Watch(const WatchOptions& options, std::ostream& out)
        : mOptions(options),
          mPrinter(out, options.mChanges),
          mFollower(options.mChannel, BusFollower::Past::eRemembered),
          mFindings(options)
    {}

    /// Whether what is waited for has come.
    bool look();

private:
    void print(const NoChannel& trouble);
    void printPresence(const BusState& now);
    void printChanges(const BusState& before, const BusState& now);
    bool printFindings();

    const WatchOptions& mOptions;
    EventPrinter mPrinter;
    BusFollower mFollower;
    AwaitedFindings mFindings;
    std::shared_ptr<const BusState> mPrinted; ///< all changes up to this state; null: the channel was never there
    std::string mTrouble;                     ///< as printed; empty: the channel is there
};

bool Watch::look()
{
    mFollower.look({.mFunctions = true, .mProcesses = true, .mMemoryManagers = true});
    if (mFollower.trouble()) {
        print(*mFollower.trouble());
        return false;
    }
    const auto& now = mFollower.now();
    if (mPrinted == nullptr || !mTrouble.empty()) {
        printPresence(*now);
    }
    if (mPrinted != nullptr && mPrinted != now) {
        printChanges(*mPrinted, *now);
    }
    mPrinted = now;
    try {
        return mOptions.mUntil != nullptr && printFindings();
    } catch (const NoChannel& trouble) {
        print(trouble);
        return false;
    }
}

void Watch::print(const NoChannel& trouble)
{
    const bool wasThere = mPrinted != nullptr;
    const std::string why =
        (trouble.isMissing() ? wasThere ? "gone, " : "waiting, " : "unusable, ") + std::string(trouble.what());
    if (why != mTrouble) {
        mPrinter.printChannel(wallTimeNow(), "-", mOptions.mChannel, why);
    }
    mTrouble = why;
}

void Watch::printPresence(const BusState& now)
{
    mPrinter.printChannel(now.mTakenAt, "+", mOptions.mChannel,
                          std::string(mPrinted == nullptr ? "available" : "available again") +
                              ", interfaces: " + std::to_string(now.mInterfaces.size()) +
                              ", communicators: " + std::to_string(now.mCommunicators.size()));
    mTrouble.clear();
}

void Watch::printChanges(const BusState& before, const BusState& now)
{
    forEachChange(before, now, Traffic::eLeftOut, [&](const Change& change) {
        if (!mOptions.mChanges.isIgnored(change)) {
            mPrinter.print(now.mTakenAt, change);
        }
    });
}

bool Watch::printFindings()
{
    const std::vector<Finding> findings = mFindings.look();
    for (const Finding& finding : findings) {
        mPrinter.print(wallTimeNow(), finding);
    }
    return !findings.empty();
}

Run addWatchOptions(CLI::App& part)
{
    const auto options = std::make_shared<WatchOptions>();
    addChannelOption(part, options->mChannel);
    part.add_option_function<std::string>(
            "--interval",
            [options](const std::string& text) {
                options->mInterval = readInterval("--interval", text, milliseconds(1));
            },
            "Time between two looks: 200ms, 5s (default: 200ms)")
        ->type_name("TIME");
    part.add_option_function<std::string>(
            "--for", [options](const std::string& text) { options->mFor = readDuration("--for", text); },
            "Exit after this time: 30s, 500ms, 2m, 1h or none (default: none)")
        ->type_name("TIME");
    part.add_option_function<std::string>(
            "--until", [options](const std::string& code) { options->mUntil = &readFindingKind("--until", code); },
            "Exit with status 0 as soon as check would report this finding")
        ->type_name("CODE");
    addChangeOptions(part, options->mChanges, "Print one JSON object per line");
    part.footer("Lines are those of diff, each with the time of its look in UTC. Ctrl-C exits\n"
                "with status 0. With --until, the status is 3 if --for elapses before the\n"
                "finding appears.");
    return [options](std::ostream& out) { return runWatch(*options, out); };
}

} // namespace

ExitStatus runWatch(const WatchOptions& options, std::ostream& out)
{
    endOnSignals();
    Watch watch(options, out);
    const Clock::time_point begin = Clock::now();
    for (;;) {
        // Asked before the look, so that the last one comes when the time is up.
        const Clock::time_point now = Clock::now();
        const bool isLast = options.mFor && now - begin >= *options.mFor;
        if (watch.look()) {
            return eExitYes;
        }
        if (isLast && options.mUntil != nullptr) {
            complain(std::string("timed out: no ") + options.mUntil->mCode);
            return eExitTimeIsUp;
        }
        const Clock::time_point next = now + options.mInterval;
        if (isLast || !waitUntil(options.mFor ? std::min(next, begin + *options.mFor) : next)) {
            return eExitYes;
        }
    }
}

const Command cWatchCommand{"watch", "Print the changes of a bus as they happen",
                            "  zunic_inspect watch                          changes on the channel OXABus\n"
                            "  zunic_inspect watch --ignore link --for 30s  without links, for 30 seconds\n"
                            "  zunic_inspect watch --until dead-process     until a process has died\n"
                            "  zunic_inspect watch --json | jq --unbuffered -c 'select(.kind == \"process\")'\n",
                            addWatchOptions};

} // namespace Inspect
