#include "inspect/commands/metrics/metrics.h"

#include "inspect/bus/bus_index.h"
#include "inspect/bus/words.h"
#include "inspect/commands/metrics/metrics_text.h"
#include "inspect/commands/shared_options.h"
#include "inspect/findings/findings.h"
#include "inspect/live/take_state.h"
#include "inspect/saved/output_file.h"

#include <algorithm>
#include <functional>
#include <map>
#include <memory>
#include <utility>

namespace Inspect {

namespace {

struct Looks
{
    const BusIndex& mNow;
    const BusIndex* mBefore; ///< null when there is one look only
};

struct Metric
{
    const char* mName;
    const char* mHelp;
    void (*mAdd)(MetricsText& text, const Looks& looks);
};

/// A number that means nothing has no word: a damaged bus would give Prometheus a series for each.
std::string wordOrOther(Words words, std::uint32_t number)
{
    const std::string word = wordFor(words, number);
    return numberFor(words, word) ? word : "other";
}

void addInterfaces(MetricsText& text, const Looks& looks)
{
    std::map<std::pair<std::string, std::string>, std::size_t> counts;
    for (const char* const type : {"skeleton", "stub"}) {
        for (const char* const state : {"registered", "preregistered"}) {
            counts[{type, state}] = 0; // Nothing can be said about a series that comes and goes.
        }
    }
    for (const Interface& interface : looks.mNow.state().mInterfaces) {
        ++counts[{wordOrOther(cTypeWords, interface.mType), wordOrOther(cStateWords, interface.mState)}];
    }
    for (const auto& [words, count] : counts) {
        text.add(static_cast<double>(count), {{"type", words.first}, {"state", words.second}});
    }
}

void addLinks(MetricsText& text, const Looks& looks)
{
    text.add(static_cast<double>(looks.mNow.totals().mLinks));
}

void addCommunicators(MetricsText& text, const Looks& looks)
{
    text.add(static_cast<double>(looks.mNow.state().mCommunicators.size()));
}

void addDeadProcesses(MetricsText& text, const Looks& looks)
{
    text.add(static_cast<double>(looks.mNow.totals().mDeadProcesses));
}

void addSlots(MetricsText& text, const Looks& looks)
{
    for (const auto& [state, word] : cSlotStateWords) {
        text.add(looks.mNow.state().mMessages.mTotals.at(state), {{"state", word}});
    }
}

void addWriterCounter(MetricsText& text, const Looks& looks)
{
    text.add(looks.mNow.state().mMessages.mWriterCounter);
}

template <std::uint64_t Channel::MemoryManagerFigures::*figure>
void addOfEachManager(MetricsText& text, const Looks& looks)
{
    std::size_t index = 0;
    for (const Channel::MemoryManagerFigures& figures : looks.mNow.state().mMemoryManagers) {
        text.add(static_cast<double>(figures.*figure), {{"manager", std::to_string(index++)}});
    }
}

/// Those that are not there, too: an alert has to see how they vanish.
void addFindings(MetricsText& text, const Looks& looks)
{
    std::map<std::pair<std::string, Severity>, std::size_t> counts;
    for (const FindingKind* const kind : findingKinds()) {
        for (const Severity severity : {Severity::eError, Severity::eWarning, Severity::eNote}) {
            if (severity <= kind->mSeverity) {
                counts[{kind->mCode, severity}] = 0;
            }
        }
    }
    for (const Finding& finding : findAll(looks.mNow, looks.mBefore)) {
        ++counts[{finding.mKind->mCode, finding.mSeverity}];
    }
    for (const auto& [what, count] : counts) {
        text.add(static_cast<double>(count), {{"code", what.first}, {"severity", severityWord(what.second)}});
    }
}

void addMutexHeld(MetricsText& text, const Looks& looks)
{
    text.add(looks.mNow.state().mMutexHeld);
}

void addTaken(MetricsText& text, const Looks& looks)
{
    text.add(looks.mNow.state().mTakenAt.time_since_epoch());
}

constexpr Metric cTaken{"zunic_taken_timestamp_seconds", "Time of the look, in seconds since 1970 UTC.", addTaken};

constexpr std::initializer_list<Metric> cMetrics{
    cTaken,
    {"zunic_interfaces", "Interfaces in use, by type and registration state.", addInterfaces},
    {"zunic_links", "Interfaces in the receiver sets of all interfaces in use.", addLinks},
    {"zunic_communicators", "Registered communicators.", addCommunicators},
    {"zunic_dead_processes", "Processes with a registered communicator that do not exist or are zombies.",
     addDeadProcesses},
    {"zunic_message_slots", "Message slots, by state.", addSlots},
    {"zunic_messages_written_modulo_65536", "The writer counter: messages written so far, modulo 65,536.",
     addWriterCounter},
    {"zunic_memory_blocks", "Blocks of a memory manager.",
     addOfEachManager<&Channel::MemoryManagerFigures::mTotalBlocks>},
    {"zunic_memory_blocks_used", "Blocks of a memory manager that are in use.",
     addOfEachManager<&Channel::MemoryManagerFigures::mUsedBlocks>},
    {"zunic_memory_block_size_bytes", "Size of each block of a memory manager.",
     addOfEachManager<&Channel::MemoryManagerFigures::mBlockSize>},
    {"zunic_findings", "Findings of zunic_inspect check, by code and severity.", addFindings},
    {"zunic_mutex_held_seconds", "Time for which this look held the registry mutex.", addMutexHeld},
};

void beginWithUp(MetricsText& text, bool isUp)
{
    text.begin("zunic_up", "1 if the bus could be read; 0 if there is none or its mutex could not be locked.");
    text.add(isUp ? 1 : 0);
}

void add(MetricsText& text, const Metric& metric, const Looks& looks)
{
    text.begin(metric.mName, metric.mHelp);
    metric.mAdd(text, looks);
}

Run addMetricsOptions(CLI::App& part)
{
    const auto options = std::make_shared<MetricsOptions>();
    addLookSourceOptions(part, options->mSource);
    part.add_option("--output", options->mOutput,
                    "Write to this file, readable by everyone (default: \"-\", standard output)")
        ->type_name("FILE")
        ->check(complaintAboutFile, "");
    part.footer("The format is OpenMetrics text. If the channel cannot be read, zunic_up is 0,\n"
                "and the exit status is 4. The file is replaced atomically. Findings that\n"
                "show only over time need the second look.");
    return [options](std::ostream& out) { return runMetrics(*options, out); };
}

} // namespace

void writeMetrics(std::ostream& out, const BusState& now, const BusState* before)
{
    const BusIndex index(now);
    const BusIndex indexBefore(before != nullptr ? *before : now);
    MetricsText text(out, now.mChannel);
    beginWithUp(text, true);
    for (const Metric& metric : cMetrics) {
        add(text, metric, {index, before != nullptr ? &indexBefore : nullptr});
    }
    text.end();
}

void writeNoBus(std::ostream& out, const std::string& channel, WallTime time)
{
    BusState none;
    none.mTakenAt = time;
    MetricsText text(out, channel);
    beginWithUp(text, false);
    add(text, cTaken, {BusIndex(none), nullptr});
    text.end();
}

ExitStatus runMetrics(const MetricsOptions& options, std::ostream& out)
{
    try {
        const std::vector<BusState> looks = takeLooks(options.mSource);
        const BusState* const before = looks.size() > 1 ? &looks.front() : nullptr;
        writeOutput(options.mOutput, cForEveryone, out,
                    [&](std::ostream& to) { writeMetrics(to, looks.back(), before); });
        return eExitYes;
    } catch (const NoChannel&) {
        writeOutput(options.mOutput, cForEveryone, out,
                    [&](std::ostream& to) { writeNoBus(to, options.mSource.mChannel, wallTimeNow()); });
        throw;
    }
}

const Command cMetricsCommand{"metrics", "Print metrics of a bus for Prometheus",
                              "  zunic_inspect metrics                           two looks, two seconds apart\n"
                              "  zunic_inspect metrics --again 0                 one look\n"
                              "  zunic_inspect metrics --output /var/lib/prometheus/node-exporter/zunic.prom\n"
                              "                                                  for the node exporter, by cron\n",
                              addMetricsOptions};

} // namespace Inspect
