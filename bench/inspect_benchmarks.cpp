#include "inspect_benchmarks.h"

#include "full_channel.h"
#include "hold_time.h"
#include "inspect/findings/findings.h"
#include "inspect/live/take_state.h"
#include "name_daemon.h"
#include "table.h"
#include "timed_process.h"

#include <chrono>
#include <csignal>
#include <filesystem>
#include <random>
#include <stdexcept>
#include <thread>

namespace Bench {

namespace {

using namespace ZunicHosting;

constexpr std::uint16_t cLinks = 16;
constexpr std::uint32_t cAllSlots = 65'536;
constexpr int cRuns = 51;
constexpr double cBytesInMebibyte = 1024.0 * 1024.0;

/// A folder of its own for the logging library, as the tool itself has in its measurements.
Command enquire(const Folder& folder, std::vector<std::string> arguments)
{
    arguments.insert(arguments.begin(), ENQUIRER_BINARY);
    return {.words = arguments, .environment = {{"DLT_PIPE_DIR", folder / ""}}};
}

Command inspect(std::vector<std::string> arguments)
{
    arguments.insert(arguments.begin(), INSPECT_BINARY);
    return {.words = arguments};
}

void compareRow(const std::string& what, const Command& ours, const std::string& reference, const Command& theirs,
                int runs = cRuns)
{
    const Medians medians = compare(ours, theirs, runs);
    printRow(what, medians.ours.wall, reference, medians.reference.wall, "ms");
}

void measureHold(const std::string& channel)
{
    std::vector<double> held;
    held.reserve(1000);
    for (int i = 0; i < 1000; ++i) {
        held.push_back(std::chrono::duration<double, std::micro>(Inspect::takeState(channel, {}).mMutexHeld).count());
    }
    printRow("inspect: registry mutex held", percentile(held, 50), "by zunic_enquirer",
             measureHoldTime(channel, 1000).median, "us");
}

void measureLists(const Folder& folder, const std::string& channel)
{
    const Command list = inspect({"list", "interfaces", "-c", channel});
    compareRow("inspect list interfaces", list, "zunic_enquirer -i",
               enquire(folder, {"-i", interfaceName(512), channel}), 101);
    const NameDaemon daemon(folder / "", 1024);
    compareRow("inspect list interfaces", list, "busctl list --json, 1,024 names",
               {.words = {"busctl", "--address=" + daemon.address(), "list", "--json=short"}});
}

void measureSaving(const Folder& folder, const std::string& channel)
{
    const std::string file = folder / "state.json";
    const Command save = inspect({"save", "-c", channel, file});
    const std::string output = folder / "output";
    Command report = enquire(folder, {"-d", "-o", output, channel});
    report.prepare = [output] {
        std::filesystem::remove_all(output);
        std::filesystem::create_directory(output);
    };
    compareRow("inspect save", save, "zunic_enquirer -d", report);
    const double size = static_cast<double>(std::filesystem::file_size(file)) / cBytesInMebibyte;
    const PeakMemory peak = measurePeakMemory(save);
    printRow("inspect save, peak memory", static_cast<double>(peak.total) / 1024, "size of its file", size, "MiB");
    printRow("inspect save, without the channel's own", static_cast<double>(peak.anonymous + peak.files) / 1024,
             "size of its file", size, "MiB");
    compareRow("inspect list --from", inspect({"list", "--from", file}), "bare parse of the file",
               {.words = {BARE_PARSE_BINARY, file}});
}

/// What looks at everything, against what saves everything; and two states, against the parse of both.
void measureJudging(const Folder& folder, const std::string& channel)
{
    const std::string file = folder / "state.json";
    const Command save = inspect({"save", "-c", channel, file});
    // Findings are no failures here.
    const Command check = {
        .words = {"sh", "-c", "\"$0\" check --again 0 -c \"$1\"; test $? -le 1", INSPECT_BINARY, channel}};
    compareRow("inspect check --again 0", check, "inspect save", save);
    compareRow("inspect page", inspect({"page", "-c", channel, folder / "bus.html"}), "inspect save", save);
    compareRow("inspect diff", inspect({"diff", file, file}), "bare parse of both files",
               {.words = {BARE_PARSE_BINARY, file, file}}, 21);
    constexpr double cMilliseconds = 10'000;
    printRow("inspect watch, processor time",
             100 * run(inspect({"watch", "--for", "10s", "-c", channel})).processor / cMilliseconds, "a core", 100,
             "%");
}

/// The time of a check of the registry alone as it fills up, with all links that there can be.
void measureGrowthOfCheck()
{
    double smallest = 0;
    for (const std::uint16_t interfaces : {std::uint16_t{64}, std::uint16_t{256}, std::uint16_t{1024}}) {
        Inspect::BusState state;
        for (std::uint16_t id = 0; id < interfaces; ++id) {
            Inspect::Interface made;
            made.mId = id;
            made.mName = interfaceName(id);
            made.mType = id % 2 == 0 ? Oxa::eInterfaceInstanceTypeSkeleton : Oxa::eInterfaceInstanceTypeStub;
            made.mState = oxa_zunic_registration_state_registered;
            for (std::uint16_t receiver = 0; receiver < interfaces; ++receiver) {
                made.mReceivers.append(receiver);
            }
            state.mInterfaces.push_back(made);
        }
        std::vector<double> times;
        times.reserve(11);
        for (int i = 0; i < 11; ++i) {
            const auto begin = std::chrono::steady_clock::now();
            const Inspect::BusIndex before(state);
            Inspect::findAll(Inspect::BusIndex(state), &before);
            times.push_back(
                std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - begin).count());
        }
        const double links = static_cast<double>(interfaces) * interfaces;
        const double time = percentile(times, 50);
        smallest = smallest == 0 ? time / links : smallest;
        printRow("findings of two looks, " + std::to_string(interfaces) + " interfaces, all links", time,
                 "as for each link of 64", smallest * links, "ms");
    }
}

/// A `wait` for what is not there, for so long; the share of a core that it takes.
void measureWaitCost()
{
    HostedChannel channel = HostedChannel::create({.name = "bench_wait" + std::to_string(getpid())});
    channel.lock().registerInterface({.interfaceName = "Clock", .type = InstanceType::skeleton});
    constexpr double cMilliseconds = 10'000;
    Command wait = {.words = {"sh", "-c", std::string("\"$0\" wait Nobody -c \"$1\" --timeout 10s; test $? -eq 3"),
                              INSPECT_BINARY, channel.name()}};
    printRow("inspect wait, small bus, processor time", 100 * run(wait).processor / cMilliseconds, "a core", 100, "%");
}

/// From the registration of an interface to the end of the `wait` for it, at moments that know nothing of its looks.
void measureWaitLatency()
{
    std::vector<double> latencies;
    latencies.reserve(20);
    std::minstd_rand random; // NOLINT(cert-msc51-cpp,bugprone-random-generator-seed): the same moments each time.
    for (int i = 0; i < 20; ++i) {
        HostedChannel channel = HostedChannel::create({.name = "bench_wait" + std::to_string(getpid())});
        std::chrono::steady_clock::time_point registered;
        std::jthread provider([&] {
            std::this_thread::sleep_for(std::chrono::milliseconds(200 + random() % 100));
            channel.lock().registerInterface({.interfaceName = "Late", .type = InstanceType::skeleton});
            registered = std::chrono::steady_clock::now();
        });
        run(inspect({"wait", "Late", "-c", channel.name()}));
        const auto seen = std::chrono::steady_clock::now();
        provider.join();
        latencies.push_back(std::chrono::duration<double, std::milli>(seen - registered).count());
    }
    printRow("inspect wait, from the registration to its end", percentile(latencies, 50), "the bound", 100, "ms");
    printRow("inspect wait, the longest", percentile(latencies, 100), "the bound", 100, "ms");
}

} // namespace

void measureInspect(const Folder& folder)
{
    const auto channel = hostFullChannel(cLinks, cAllSlots, Slots::eAllInUse);
    measureHold(channel.name());
    measureLists(folder, channel.name());
    measureSaving(folder, channel.name());
    measureJudging(folder, channel.name());
    measureGrowthOfCheck();
    measureWaitCost();
    measureWaitLatency();
}

} // namespace Bench
