// Measures the tool against the least that what it does can cost, and prints one table.
//
// usage: zunic_benchmarks [hold|query|dbus|report|inspect]
#include "folder.h"
#include "full_channel.h"
#include "hold_time.h"
#include "inspect_benchmarks.h"
#include "name_daemon.h"
#include "recorded_write.h"
#include "table.h"
#include "timed_process.h"

#include <filesystem>
#include <fstream>
#include <iostream>
#include <string_view>

using namespace Bench;

namespace {

constexpr std::uint16_t cSomeLinks = 16;
constexpr std::uint16_t cAllLinks = 1024;
constexpr std::uint32_t cFewSlots = 64;
constexpr std::uint32_t cAllSlots = 65'536;

Command toolCommand(const Folder& folder, std::vector<std::string> arguments)
{
    arguments.insert(arguments.begin(), ENQUIRER_BINARY);
    return {.words = arguments, .environment = {{"DLT_PIPE_DIR", folder / ""}}};
}

void measureHolds()
{
    for (const std::uint16_t links : {std::uint16_t{0}, cSomeLinks, cAllLinks}) {
        const auto channel = hostFullChannel(links, cFewSlots);
        const HoldTime hold = measureHoldTime(channel.name(), links == cAllLinks ? 200 : 1000);
        const std::string what = "registry mutex held, " + std::to_string(links) + " links each";
        printRow(what, hold.median, "memcpy of the same bytes", hold.copyMedian, "us");
        printRow(what + ", p99", hold.percentile99, "us");
        printRow(what + ", allocations", static_cast<double>(hold.allocations), "");
    }
}

void measureQueries(const Folder& folder)
{
    for (const std::uint16_t links : {cSomeLinks, cAllLinks}) {
        const std::pair<std::string, std::vector<std::string>> references[] = {
            {"the DLT calls alone", {DLT_ONLY_BINARY}},
            {"the same, linked as the tool", {DLT_ONLY_LINKED_ALIKE_BINARY}},
            {"the same, and bare containers", {BARE_CONTAINERS_BINARY, std::to_string(links)}},
        };
        const auto channel = hostFullChannel(links, cFewSlots);
        const Command query = toolCommand(folder, {"-i", interfaceName(512), channel.name()});
        for (const auto& [name, words] : references) {
            const Command reference{.words = words, .environment = query.environment};
            const Medians medians = compare(query, reference, links == cAllLinks ? 51 : 301);
            printRow("query, " + std::to_string(links) + " links each", medians.ours.wall, name, medians.reference.wall,
                     "ms");
        }
    }
}

void measureQueriesOfDBus(const Folder& folder)
{
    constexpr int cNames = 1024;
    const NameDaemon daemon(folder / "", cNames);
    const std::string name = NameDaemon::name(cNames / 2);
    const std::string call = "org.freedesktop.DBus.NameHasOwner";
    const Command commands[] = {
        {.words = {"dbus-send", "--bus=" + daemon.address(), "--print-reply", "--dest=org.freedesktop.DBus", "/", call,
                   "string:" + name}},
        {.words = {"gdbus", "call", "--address", daemon.address(), "--dest", "org.freedesktop.DBus", "--object-path",
                   "/", "--method", call, name}},
        {.words = {"busctl", "--address=" + daemon.address(), "list"}},
    };
    const auto channel = hostFullChannel(cSomeLinks, cFewSlots);
    for (const Command& command : commands) {
        const Medians medians = compare(toolCommand(folder, {"-i", interfaceName(512), channel.name()}), command, 51);
        printRow("query", medians.ours.wall, command.words[0] + ", 1,024 names", medians.reference.wall, "ms");
    }
}

/// A command that finds the folder it writes into empty.
Command intoEmptyFolder(Command command, const std::string& output)
{
    command.prepare = [output] {
        std::filesystem::remove_all(output);
        std::filesystem::create_directory(output);
    };
    return command;
}

double countWrites(const std::string& recording)
{
    std::ifstream file(recording, std::ios::binary);
    double count = 0;
    for (RecordedWrite head{}; file.read(reinterpret_cast<char*>(&head), sizeof head); ++count) {
        file.seekg(head.nameSize + head.size, std::ios::cur);
    }
    return count;
}

struct ReportCost
{
    double milliseconds;
    double writes;
};

ReportCost measureReport(const Folder& folder, std::uint16_t links)
{
    const auto channel = hostFullChannel(links, cAllSlots);
    const std::string output = folder / "output";
    const std::string recording = folder / "recording";
    const Command report = intoEmptyFolder(toolCommand(folder, {"-d", "-o", output, channel.name()}), output);

    Command recorded = report;
    recorded.environment.insert(
        {{"LD_PRELOAD", RECORDER_LIBRARY}, {"RECORDING", recording}, {"RECORDED_FOLDER", output}});
    run(recorded);
    Command replay = intoEmptyFolder({.words = {REPLAY_BINARY, recording, output}}, output);
    replay.stopsWhenReady = true;

    const std::string what = "report, " + std::to_string(links) + " links each";
    const Medians medians = compare(report, replay, links == cAllLinks ? 7 : 31);
    printRow(what, medians.ours.wall, "the same writes alone", medians.reference.wall, "ms");
    printRow(what + ", processor time", medians.ours.processor, "the same writes alone", medians.reference.processor,
             "ms");

    constexpr double cKibibytesInMebibyte = 1024;
    const double bound = 24 + 64.0 * 1024 * links / (1024 * 1024);
    const PeakMemory peak = measurePeakMemory(report);
    printRow(what + ", peak memory", static_cast<double>(peak.total) / cKibibytesInMebibyte, "64 B a link + 24 MiB",
             bound, "MiB");
    printRow(what + ", without the channel's own",
             static_cast<double>(peak.anonymous + peak.files) / cKibibytesInMebibyte, "64 B a link + 24 MiB", bound,
             "MiB");
    return {medians.ours.wall, countWrites(recording)};
}

void measureReports(const Folder& folder)
{
    const ReportCost some = measureReport(folder, cSomeLinks);
    measureReport(folder, 128);
    const ReportCost all = measureReport(folder, cAllLinks);
    printRow("report, time with 1024 links over time with 16", all.milliseconds / some.milliseconds,
             "lines flushed with 1024 over 16", all.writes / some.writes, "");
}

} // namespace

int main(int argc, char** argv)
{
    const std::string_view section = argc > 1 ? argv[1] : "all";
    const auto isWanted = [&](std::string_view name) { return section == "all" || section == name; };
    try {
        const Folder folder;
        printTableHead();
        if (isWanted("hold")) {
            measureHolds();
        }
        if (isWanted("query")) {
            measureQueries(folder);
        }
        if (isWanted("dbus")) {
            measureQueriesOfDBus(folder);
        }
        if (isWanted("report")) {
            measureReports(folder);
        }
        if (isWanted("inspect")) {
            measureInspect(folder);
        }
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "zunic_benchmarks: " << error.what() << std::endl;
        return 1;
    }
}
