#include "inspect/check/check.h"
#include "inspect/command_line/durations.h"
#include "inspect/command_line/options.h"
#include "inspect/watch/watch.h"

#include <memory>

namespace Inspect {

namespace {

std::chrono::milliseconds readInterval(const std::string& text)
{
    const auto interval = readDuration("--interval", text);
    if (!interval || interval->count() == 0) {
        throw UsageMistake("--interval: expected a time above 0");
    }
    return *interval;
}

std::string checkCode(const std::string& code)
{
    return findingKind(code) != nullptr ? "" : "no such finding: " + code;
}

Run addWatchOptions(CLI::App& part)
{
    const auto options = std::make_shared<WatchOptions>();
    addChannelOption(part, options->mChannel);
    part.add_option_function<std::string>(
            "--interval", [options](const std::string& text) { options->mInterval = readInterval(text); },
            "How long from one look to the next: 200ms, 5s (200ms)")
        ->type_name("TIME");
    part.add_option_function<std::string>(
            "--for", [options](const std::string& text) { options->mFor = readDuration("--for", text); },
            "End after this: 30s, 500ms, 2m, 1h, or none (none)")
        ->type_name("TIME");
    part.add_option("--until", options->mUntil, "End with status 0 when check would have this finding")
        ->type_name("CODE")
        ->check(checkCode, "");
    addChangeOptions(part, options->mChanges, "One JSON object a line");
    part.footer(
        "Lines are those of diff, each with the time of the look that saw it, in UTC. Ctrl-C ends it with status "
        "0.\nWith --until, the status is 3 when --for is over and the finding has not come.");
    return [options](std::ostream& out) { return runWatch(*options, out); };
}

} // namespace

const Command cWatchCommand{"watch", "Tell what changes on a bus as it happens",
                            "  zunic_inspect watch                          who comes and goes on the channel OXABus\n"
                            "  zunic_inspect watch --ignore link --for 30s  without connections, for half a minute\n"
                            "  zunic_inspect watch --until dead-process     until a process has died without leaving\n"
                            "  zunic_inspect watch --json | jq --unbuffered -c 'select(.kind == \"process\")'\n",
                            addWatchOptions};

} // namespace Inspect
