#include "churn.h"
#include "support/live_bus.h"
#include "support/program.h"
#include "support/temporary_directory.h"

#include "zunic_hosting/channel_format.h"
#include "zunic_hosting/hosted_channel.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fstream>
#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <sys/stat.h>
#include <system_error>
#include <vector>

namespace {

using namespace TestSupport;
using ZunicFormat::CommunicatorEntry;
using ZunicFormat::InterfaceEntry;
using ZunicHosting::HostedChannel;

const std::string cSmall = SCENARIO_DIR "/small.json";

bool channelExists(const std::string& name)
{
    try {
        HostedChannel::attach(name);
        return true;
    } catch (const std::system_error& error) {
        EXPECT_EQ(error.code().value(), ENOENT);
        return false;
    }
}

/// Whether the process runs: it is there, and no zombie that nobody has reaped so far.
bool isAlive(pid_t process)
{
    std::ifstream file("/proc/" + std::to_string(process) + "/stat");
    std::string text;
    std::getline(file, text);
    const std::size_t nameEnd = text.rfind(") ");
    return nameEnd != std::string::npos && text[nameEnd + 2] != 'Z';
}

std::multimap<std::string, pid_t> childrenOf(pid_t host)
{
    std::multimap<std::string, pid_t> found;
    const std::string id = std::to_string(host);
    std::ifstream children("/proc/" + id + "/task/" + id + "/children");
    for (pid_t child = 0; children >> child;) {
        std::error_code error;
        const auto program = std::filesystem::read_symlink("/proc/" + std::to_string(child) + "/exe", error);
        found.emplace(program.filename().string(), child);
    }
    return found;
}

struct Snapshot
{
    std::vector<InterfaceEntry> interfaces;
    std::vector<CommunicatorEntry> communicators;
};

/// Both tables as they are under the registry mutex; only what is in use.
Snapshot takeSnapshot(HostedChannel& channel)
{
    const auto registry = std::make_unique<ZunicFormat::Registry>();
    {
        const ZunicHosting::LockedRegistry lock(channel);
        std::memcpy(static_cast<void*>(registry.get()), channel.registry(), sizeof *registry);
    }
    Snapshot snapshot;
    std::ranges::copy_if(registry->interfaces, std::back_inserter(snapshot.interfaces),
                         [](const InterfaceEntry& entry) { return entry.state == 1 || entry.state == 3; });
    std::ranges::copy_if(
        registry->communicators, std::back_inserter(snapshot.communicators),
        [](const CommunicatorEntry& entry) { return entry.communicatorId != ZunicFormat::cFreeCommunicatorId; });
    return snapshot;
}

std::set<std::uint16_t> receiversOf(const InterfaceEntry& entry)
{
    std::set<std::uint16_t> ids;
    for (std::uint16_t id = 0; id < 1024; ++id) {
        if ((entry.receivers[id / 64] >> id % 64 & 1) != 0) {
            ids.insert(id);
        }
    }
    return ids;
}

class DemoBus : public testing::Test
{
protected:
    std::unique_ptr<Program> start(std::vector<std::string> arguments)
    {
        arguments.insert(arguments.begin(), {DEMO_BUS_BINARY, "--channel", mChannel});
        auto program = std::make_unique<Program>(arguments, options());
        const auto isUpOrOver = [&] { return program->output().ends_with('\n') || !program->isRunning(); };
        // With sanitizers and on a busy machine, several hundred processes need their time.
        EXPECT_TRUE(waitUntil(isUpOrOver) || waitUntil(isUpOrOver));
        return program;
    }

    ProgramOptions options() const { return {.environment = {{"TMPDIR", mFolder.path().string()}}}; }

    /// Runs a host that is to fail, and checks that it says so in one line and leaves nothing behind.
    void expectFailure(const std::vector<std::string>& arguments, int status, const std::string& complaint)
    {
        const std::unique_ptr<Program> host = start(arguments);
        EXPECT_EQ(host->wait(), status);
        EXPECT_TRUE(host->errors().starts_with(complaint)) << host->errors();
        EXPECT_EQ(host->errors().find('\n'), host->errors().size() - 1) << host->errors();
        EXPECT_EQ(host->output(), "");
        EXPECT_EQ(mFolder.entries(), std::set<std::string>{});
    }

    /// Ends `host` by `signal` and checks that it takes everything with it.
    void expectCleanEnd(Program& host, int signal)
    {
        const std::multimap<std::string, pid_t> children = childrenOf(host.processId());
        kill(host.processId(), signal);
        EXPECT_EQ(host.wait(), 0) << host.errors();
        EXPECT_FALSE(channelExists(mChannel));
        EXPECT_EQ(mFolder.entries(), std::set<std::string>{});
        for (const auto& [name, child] : children) {
            EXPECT_FALSE(isAlive(child)) << name;
        }
    }

    TemporaryDirectory mFolder;
    std::string mChannel = uniqueChannelName();
};

TEST_F(DemoBus, SmallScenarioIsOnTheChannelWithRealProcesses)
{
    const std::unique_ptr<Program> host = start({cSmall});
    ASSERT_EQ(host->output(), "channel " + mChannel +
                                  " is ready: 5 processes, 7 communicators, 12 interfaces, 7 links, 6 messages (stop "
                                  "with Ctrl-C)\n")
        << host->errors();
    std::map<std::uint32_t, std::string> names;
    for (const auto& [name, child] : childrenOf(host->processId())) {
        names[static_cast<std::uint32_t>(child)] = name;
    }

    HostedChannel channel = HostedChannel::attach(mChannel);
    const Snapshot snapshot = takeSnapshot(channel);
    std::vector<std::string> owners;
    for (const CommunicatorEntry& communicator : snapshot.communicators) {
        const auto owner = names.find(communicator.processId);
        owners.push_back(owner == names.end() ? "gone" : owner->second);
        EXPECT_EQ(communicator.communicatorId, owners.size());
    }
    EXPECT_EQ(owners,
              (std::vector<std::string>{"clockd", "audiod", "navigator", "dashboard", "dashboard", "loggerd", "gone"}));
    EXPECT_FALSE(isAlive(static_cast<pid_t>(snapshot.communicators.back().processId)));

    ASSERT_EQ(snapshot.interfaces.size(), 12U);
    const InterfaceEntry& clock = snapshot.interfaces[0];
    EXPECT_STREQ(clock.interfaceName, "Clock");
    EXPECT_EQ(clock.functions.memory_manager_index, 0);
    EXPECT_EQ(receiversOf(clock), (std::set<std::uint16_t>{5, 7, 11}));
    const InterfaceEntry& traffic = snapshot.interfaces[3];
    EXPECT_STREQ(traffic.interfaceName, "Traffic");
    EXPECT_STREQ(traffic.roleName, "Provider");
    EXPECT_STREQ(traffic.domainName, "cloud");
    EXPECT_EQ(traffic.state, 3U);
    EXPECT_EQ(traffic.type, 2U);
    EXPECT_EQ(traffic.communicatorId, 3U);
    EXPECT_EQ(traffic.version[1], 9U);

    const auto* const slots = reinterpret_cast<const ZunicFormat::MessageSlot*>(channel.messages());
    std::string states;
    for (std::size_t i = 0; i < channel.messageSlots(); ++i) {
        states += std::to_string(slots[i].stateAndSender & ZunicFormat::cSlotStateMask);
    }
    EXPECT_EQ(states, "34"
                      "2444"
                      "1"
                      "3"
                      "0"
                      "34"
                      "34"
                      "3"
                      "4"
                      "00000000000000000");
    EXPECT_EQ(slots[7].external.memory_manager_index, 1U);
    expectCleanEnd(*host, SIGTERM);
}

TEST_F(DemoBus, FullScenarioFillsTheChannel)
{
    const std::unique_ptr<Program> host = start({SCENARIO_DIR "/full.json"});
    ASSERT_NE(host->output(), "") << host->errors();
    EXPECT_EQ(childrenOf(host->processId()).size(), 256U);
    HostedChannel channel = HostedChannel::attach(mChannel);
    const Snapshot snapshot = takeSnapshot(channel);
    EXPECT_EQ(snapshot.communicators.size(), 1024U);
    ASSERT_EQ(snapshot.interfaces.size(), 1024U);
    for (const InterfaceEntry& interface : snapshot.interfaces) {
        EXPECT_EQ(receiversOf(interface).size(), 16U);
    }
    expectCleanEnd(*host, SIGINT);
}

TEST_F(DemoBus, ProcessesDieWithTheirHostAndTheChannelCanBeHostedAgain)
{
    const std::unique_ptr<Program> host = start({cSmall});
    const std::multimap<std::string, pid_t> children = childrenOf(host->processId());
    ASSERT_EQ(children.size(), 5U) << host->errors();
    kill(host->processId(), SIGKILL);
    host->wait();
    for (const auto& [name, child] : children) {
        EXPECT_TRUE(waitUntil([process = child] { return !isAlive(process); })) << name;
    }

    for (const std::string& left : mFolder.entries()) {
        std::filesystem::remove_all(mFolder / left);
    }
    const std::unique_ptr<Program> second = start({cSmall});
    EXPECT_NE(second->output(), "") << second->errors();
    expectCleanEnd(*second, SIGHUP);
}

TEST_F(DemoBus, FailingStartsSayWhyInOneLineAndLeaveNothing)
{
    const std::string file = mFolder / "scenario.json";
    const auto expectFailureOf = [&](const std::string& scenario, int status, const std::string& complaint) {
        // Not in the folder that has to be empty afterwards.
        const TemporaryDirectory elsewhere;
        writeFile(elsewhere / "s.json", scenario);
        const std::string place = status == 2 ? elsewhere / "s.json" + ": " : "zunic_demo_bus: ";
        expectFailure({elsewhere / "s.json"}, status, place + complaint);
        EXPECT_FALSE(channelExists(mChannel));
    };
    expectFailureOf(R"({"chanel": "a"})", 2, "unknown key \"chanel\"");
    // Each interface needs a block for its functions, and there is but one.
    expectFailureOf(R"({"memoryManagers": [{"initialBlocks": 1, "maximumBlocks": 1}], "processes": [{"name": "early"},
        {"name": "late", "communicators": [{"interfaces": [{"count": 2, "name": "n", "role": "r", "type": "stub",
         "version": "1.2.3", "functions": ["open"]}]}]}]})",
                    1, "process late cannot register: ");

    expectFailure({}, 2, "zunic_demo_bus: ");
    expectFailure({"--churn", "-1", cSmall}, 2, "zunic_demo_bus: --churn");
    expectFailure({"--churn", "1", SCENARIO_DIR "/full.json"}, 2, SCENARIO_DIR "/full.json: expected at most 1022");
    expectFailure({"--group", "no such group", cSmall}, 2, "zunic_demo_bus: --group: ");
    expectFailure({"--channel", "a/b", cSmall}, 1, "zunic_demo_bus: ");
    EXPECT_FALSE(channelExists(mChannel));
}

TEST_F(DemoBus, ChannelInUseIsLeftAlone)
{
    HostedChannel channel = HostedChannel::create({.name = mChannel, .memoryManagers = {}, .group = {}});
    expectFailure({cSmall}, 1, "zunic_demo_bus: channel " + mChannel + " is in use\n");
    EXPECT_TRUE(channelExists(mChannel));
}

TEST_F(DemoBus, ChannelGoesWhenTheTemporaryFolderCannotBeMade)
{
    const ProgramResult result =
        runProgram({DEMO_BUS_BINARY, "--channel", mChannel, cSmall}, {.environment = {{"TMPDIR", mFolder / "none"}}});
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(result.errors.starts_with("zunic_demo_bus: cannot create a folder ")) << result.errors;
    EXPECT_FALSE(channelExists(mChannel));
}

TEST_F(DemoBus, CheckReadsTheScenarioOnly)
{
    const ProgramResult result = runProgram({DEMO_BUS_BINARY, "--check", "--channel", mChannel, cSmall}, options());
    EXPECT_EQ(result.status, 0);
    EXPECT_TRUE(result.output.starts_with(cSmall + ": OK, 5 processes")) << result.output;
    EXPECT_FALSE(channelExists(mChannel));
}

/// The pairs of each process by sequence number, as the rule in churn.h says: skeleton and stub.
using ChurnPairs = std::map<pid_t, std::map<std::uint64_t, std::map<std::uint32_t, const InterfaceEntry*>>>;

ChurnPairs churnPairsIn(const Snapshot& snapshot)
{
    std::map<std::uint16_t, std::uint32_t> owners;
    for (const CommunicatorEntry& communicator : snapshot.communicators) {
        owners[communicator.communicatorId] = communicator.processId;
    }
    ChurnPairs pairs;
    for (const InterfaceEntry& entry : snapshot.interfaces) {
        if (std::string(entry.domainName) == ZunicDemo::Churn::cChurnDomain) {
            const std::uint64_t sequence = std::stoull(entry.roleName);
            const auto process = static_cast<pid_t>(owners.at(entry.communicatorId));
            EXPECT_EQ(entry.interfaceName, ZunicDemo::churnName(process, sequence));
            EXPECT_TRUE(std::ranges::equal(entry.version, ZunicDemo::churnVersion(sequence)));
            pairs[process][sequence][entry.type] = &entry;
        }
    }
    return pairs;
}

void expectWhole(const std::map<std::uint64_t, std::map<std::uint32_t, const InterfaceEntry*>>& pairs)
{
    EXPECT_LE(pairs.size(), ZunicDemo::Churn::cLivingPairs);
    EXPECT_EQ(pairs.rbegin()->first - pairs.begin()->first + 1, pairs.size()) << "a gap in the sequence";
    for (const auto& [sequence, pair] : pairs) {
        ASSERT_EQ(pair.size(), 2U) << "half of pair " << sequence;
        const InterfaceEntry& stub = *pair.at(1);
        const InterfaceEntry& skeleton = *pair.at(2);
        EXPECT_EQ(receiversOf(skeleton), std::set<std::uint16_t>{stub.interfaceId});
        EXPECT_EQ(receiversOf(stub), std::set<std::uint16_t>{skeleton.interfaceId});
    }
}

TEST_F(DemoBus, ChurnKeepsItsRuleAndOutlivesAKilledProcess)
{
    const std::unique_ptr<Program> host = start({"--churn", "0", cSmall});
    HostedChannel channel = HostedChannel::attach(mChannel);
    const pid_t victim = childrenOf(host->processId()).find("audiod")->second;
    std::map<pid_t, std::uint64_t> lastSequences;
    const auto checkOnce = [&] {
        const Snapshot snapshot = takeSnapshot(channel);
        for (const auto& [process, pairs] : churnPairsIn(snapshot)) {
            if (process != victim || isAlive(victim)) {
                expectWhole(pairs);
                lastSequences[process] = pairs.rbegin()->first;
            }
        }
        const auto isOwn = [](const InterfaceEntry& entry) { return std::string(entry.domainName) != "churn"; };
        EXPECT_EQ(std::ranges::count_if(snapshot.interfaces, isOwn), 12);
    };
    EXPECT_TRUE(waitUntil([&] {
        checkOnce();
        return lastSequences.size() == 5 || HasFailure();
    }));
    for (int i = 0; i < 200; ++i) {
        checkOnce();
    }

    kill(victim, SIGKILL);
    EXPECT_TRUE(waitUntil([&] { return host->errors().ends_with("has ended\n"); }));
    EXPECT_EQ(host->errors(), "zunic_demo_bus: process audiod (" + std::to_string(victim) + ") has ended\n");
    const std::map<pid_t, std::uint64_t> before = lastSequences;
    EXPECT_TRUE(waitUntil([&] {
        checkOnce();
        return HasFailure() || std::ranges::all_of(before, [&](const auto& entry) {
                   return entry.first == victim || lastSequences[entry.first] > entry.second + 10;
               });
    }));
    expectCleanEnd(*host, SIGTERM);
}

} // namespace
