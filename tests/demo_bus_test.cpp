#include "support/churn_report.h"
#include "support/churning_bus.h"
#include "support/error_of.h"
#include "support/live_bus.h"

#include "zunic_hosting/hosted_channel.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <csignal>

namespace {

using namespace TestSupport;
using testing::StartsWith;
using ZunicHosting::HostedChannel;

const std::string cSmall = SCENARIO_DIR "/small.json";
const std::string cTraffic = SCENARIO_DIR "/traffic.json";

bool channelExists(const std::string& name)
{
    return errorOf([&] { HostedChannel::attach(name); }) != ENOENT;
}

/// A zombie that nobody has reaped so far is not.
bool isAlive(pid_t process)
{
    std::error_code ignored;
    return !std::filesystem::read_symlink("/proc/" + std::to_string(process) + "/exe", ignored).empty();
}

class DemoBus : public testing::Test
{
protected:
    Program start(std::vector<std::string> arguments) const
    {
        arguments.insert(arguments.begin(), {DEMO_BUS_BINARY, "--channel", mChannel});
        return Program(arguments, ProgramOptions{.environment = {{"TMPDIR", mFolder.path().string()}}});
    }

    /// Waits for the ready line, and returns the processes on the bus.
    static std::map<std::string, pid_t> processesWhenReady(const Program& host)
    {
        EXPECT_TRUE(waitUntil([&] { return host.output().ends_with('\n') || !host.isRunning(); }));
        return childrenOf(host.processId());
    }

    /// Runs a host that is to fail, and checks that it says so in one line and leaves nothing behind.
    void expectFailure(const std::vector<std::string>& arguments, int status, const std::string& complaint)
    {
        Program host = start(arguments);
        EXPECT_EQ(host.wait(), status);
        EXPECT_THAT(host.errors(), StartsWith(complaint));
        EXPECT_EQ(host.errors().find('\n'), host.errors().size() - 1) << host.errors();
        EXPECT_EQ(host.output(), "");
        EXPECT_THAT(mFolder.entries(), testing::IsEmpty());
    }

    /// Ends `host` by `signal` and checks that it takes everything with it.
    void expectCleanEnd(Program& host, int signal)
    {
        const auto processes = processesWhenReady(host);
        kill(host.processId(), signal);
        EXPECT_EQ(host.wait(), 0) << host.errors();
        EXPECT_FALSE(channelExists(mChannel));
        EXPECT_THAT(mFolder.entries(), testing::IsEmpty());
        for (const auto& [name, process] : processes) {
            EXPECT_FALSE(isAlive(process)) << name;
        }
    }

    TemporaryDirectory mFolder;
    std::string mChannel = uniqueChannelName();
};

TEST_F(DemoBus, SaysWhenItIsReadyAndTakesEverythingDown)
{
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        Program host = start({cSmall});
        EXPECT_EQ(processesWhenReady(host).size(), 5U);
        EXPECT_EQ(host.output(), "channel " + mChannel +
                                     " is ready: 5 processes, 7 communicators, 12 interfaces, 7 links, 6 messages "
                                     "(stop with Ctrl-C)\n");
        expectCleanEnd(host, signal);
    }
}

TEST_F(DemoBus, ProcessesDieWithTheirHostAndTheChannelCanBeHostedAgain)
{
    Program killed = start({cSmall});
    const auto processes = processesWhenReady(killed);
    ASSERT_EQ(processes.size(), 5U) << killed.errors();
    kill(killed.processId(), SIGKILL);
    killed.wait();
    for (const auto& [name, process] : processes) {
        EXPECT_TRUE(waitUntil([id = process] { return !isAlive(id); })) << name;
    }
    for (const std::string& left : mFolder.entries()) {
        std::filesystem::remove_all(mFolder / left);
    }
    Program next = start({cSmall});
    expectCleanEnd(next, SIGTERM);
}

TEST_F(DemoBus, FailingStartsSayWhyInOneLineAndLeaveNothing)
{
    const TemporaryDirectory elsewhere; // the other folder has to be empty afterwards
    const std::string file = elsewhere / "s.json";
    expectFailure({file}, 2, file + ": expected a scenario file: No such file or directory");
    writeFile(file, R"({"chanel": "a"})");
    expectFailure({file}, 2, file + ": unknown key \"chanel\"");
    // Each interface needs a block for its functions, and there is but one.
    writeFile(file, R"({"memoryManagers": [{"initialBlocks": 1, "maximumBlocks": 1}], "processes": [{"name": "early"},
        {"name": "late", "communicators": [{"interfaces": [{"count": 2, "name": "n", "role": "r", "type": "stub",
         "version": "1.2.3", "functions": ["open"]}]}]}]})");
    expectFailure({file}, 1, "zunic_demo_bus: process late cannot register: ");
    expectFailure({"--churn", "-1", cSmall}, 2, "zunic_demo_bus: --churn");
    expectFailure({"--churn", "1", SCENARIO_DIR "/full.json"}, 2, SCENARIO_DIR "/full.json: expected at most 1022");
    expectFailure({"--churn", "1", cTraffic}, 2, cTraffic + ": expected no traffic for --churn\n");
    expectFailure({"--truth", elsewhere / "t", cSmall}, 2, cSmall + ": expected traffic for --truth\n");
    expectFailure({"--truth", elsewhere / "no/t", cTraffic}, 1,
                  "zunic_demo_bus: cannot write " + elsewhere / "no/t" + ": No such file");
    expectFailure({"--group", "no such group", cSmall}, 2, "zunic_demo_bus: --group: ");
    expectFailure({"--channel", "a/b", cSmall}, 1, "zunic_demo_bus: ");
    EXPECT_FALSE(channelExists(mChannel));
}

TEST_F(DemoBus, ChannelInUseIsLeftAlone)
{
    const HostedChannel channel = HostedChannel::create({.name = mChannel});
    expectFailure({cSmall}, 1, "zunic_demo_bus: channel " + mChannel + " is in use\n");
    EXPECT_TRUE(channelExists(mChannel));
}

TEST_F(DemoBus, ChurnGoesOnWithoutAKilledProcess)
{
    const std::string scenario = mFolder / "churn.json";
    writeFile(scenario, R"({"processes": [{"name": "churner{n}", "count": 3, "communicators": [{}]}]})");
    Program host = start({"--churn", "0", scenario});
    auto processes = processesWhenReady(host);
    std::filesystem::remove(scenario);
    ASSERT_EQ(processes.size(), 3U) << host.errors();
    const pid_t victim = processes.extract("churner1").mapped();
    const std::set<pid_t> alive{processes["churner0"], processes["churner2"]};

    kill(victim, SIGKILL);
    EXPECT_TRUE(waitUntil([&] { return host.errors().ends_with('\n'); }));
    EXPECT_EQ(host.errors(), "zunic_demo_bus: process churner1 (" + std::to_string(victim) + ") has ended\n");
    const InProcessEnquirer enquirer;
    EXPECT_TRUE(waitUntil([&] { return churnFaultIn(enquirer.report(mChannel), alive).empty(); }));
    const std::string before = enquirer.report(mChannel);
    EXPECT_TRUE(waitUntil([&] { return enquirer.report(mChannel) != before; })) << "nobody is at work any more";
    expectCleanEnd(host, SIGTERM);
}

} // namespace
