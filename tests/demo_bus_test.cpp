#include "support/churn_report.h"
#include "support/churning_bus.h"
#include "support/live_bus.h"

#include "zunic_hosting/hosted_channel.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <csignal>
#include <fstream>
#include <memory>
#include <system_error>

namespace {

using namespace TestSupport;
using testing::StartsWith;
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

class DemoBus : public testing::Test
{
protected:
    std::unique_ptr<Program> start(std::vector<std::string> arguments)
    {
        arguments.insert(arguments.begin(), {DEMO_BUS_BINARY, "--channel", mChannel});
        auto program =
            std::make_unique<Program>(arguments, ProgramOptions{.environment = {{"TMPDIR", mFolder.path().string()}}});
        EXPECT_TRUE(waitUntil([&] { return program->output().ends_with('\n') || !program->isRunning(); }));
        return program;
    }

    /// Runs a host that is to fail, and checks that it says so in one line and leaves nothing behind.
    void expectFailure(const std::vector<std::string>& arguments, int status, const std::string& complaint)
    {
        const std::unique_ptr<Program> host = start(arguments);
        EXPECT_EQ(host->wait(), status);
        EXPECT_THAT(host->errors(), StartsWith(complaint));
        EXPECT_EQ(host->errors().find('\n'), host->errors().size() - 1) << host->errors();
        EXPECT_EQ(host->output(), "");
        EXPECT_THAT(mFolder.entries(), testing::IsEmpty());
    }

    /// Ends `host` by `signal` and checks that it takes everything with it.
    void expectCleanEnd(Program& host, int signal)
    {
        const auto children = childrenOf(host.processId());
        kill(host.processId(), signal);
        EXPECT_EQ(host.wait(), 0) << host.errors();
        EXPECT_FALSE(channelExists(mChannel));
        EXPECT_THAT(mFolder.entries(), testing::IsEmpty());
        for (const auto& [name, child] : children) {
            EXPECT_FALSE(isAlive(child)) << name;
        }
    }

    TemporaryDirectory mFolder;
    std::string mChannel = uniqueChannelName();
};

TEST_F(DemoBus, SaysWhenItIsReadyAndTakesEverythingDown)
{
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        const std::unique_ptr<Program> host = start({cSmall});
        ASSERT_EQ(host->output(), "channel " + mChannel +
                                      " is ready: 5 processes, 7 communicators, 12 interfaces, 7 links, 6 messages "
                                      "(stop with Ctrl-C)\n")
            << host->errors();
        EXPECT_EQ(childrenOf(host->processId()).size(), 5U);
        expectCleanEnd(*host, signal);
    }
}

TEST_F(DemoBus, ProcessesDieWithTheirHostAndTheChannelCanBeHostedAgain)
{
    const std::unique_ptr<Program> host = start({cSmall});
    const auto children = childrenOf(host->processId());
    ASSERT_EQ(children.size(), 5U) << host->errors();
    kill(host->processId(), SIGKILL);
    host->wait();
    for (const auto& [name, child] : children) {
        EXPECT_TRUE(waitUntil([process = child] { return !isAlive(process); })) << name;
    }
    for (const std::string& left : mFolder.entries()) {
        std::filesystem::remove_all(mFolder / left);
    }
    expectCleanEnd(*start({cSmall}), SIGTERM);
}

TEST_F(DemoBus, FailingStartsSayWhyInOneLineAndLeaveNothing)
{
    const TemporaryDirectory elsewhere; // the other folder has to be empty afterwards
    const std::string file = elsewhere / "s.json";
    writeFile(file, R"({"chanel": "a"})");
    expectFailure({file}, 2, file + ": unknown key \"chanel\"");
    // Each interface needs a block for its functions, and there is but one.
    writeFile(file, R"({"memoryManagers": [{"initialBlocks": 1, "maximumBlocks": 1}], "processes": [{"name": "early"},
        {"name": "late", "communicators": [{"interfaces": [{"count": 2, "name": "n", "role": "r", "type": "stub",
         "version": "1.2.3", "functions": ["open"]}]}]}]})");
    expectFailure({file}, 1, "zunic_demo_bus: process late cannot register: ");
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
    EXPECT_THAT(result.errors, StartsWith("zunic_demo_bus: cannot create a folder "));
    EXPECT_FALSE(channelExists(mChannel));
}

TEST_F(DemoBus, CheckReadsTheScenarioOnly)
{
    const ProgramResult result = runProgram({DEMO_BUS_BINARY, "--check", "--channel", mChannel, cSmall});
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.output, StartsWith(cSmall + ": OK, 5 processes"));
    EXPECT_FALSE(channelExists(mChannel));
}

TEST_F(DemoBus, ChurnKeepsItsRuleAndOutlivesAKilledProcess)
{
    const std::string scenario = mFolder / "churn.json";
    writeFile(scenario, R"({"processes": [{"name": "churner{n}", "count": 3, "communicators": [{}]}]})");
    const std::unique_ptr<Program> host = start({"--churn", "0", scenario});
    std::filesystem::remove(scenario);
    std::set<pid_t> alive;
    for (const auto& [name, process] : childrenOf(host->processId())) {
        alive.insert(process);
    }
    ASSERT_EQ(alive.size(), 3U) << host->errors();
    const InProcessEnquirer enquirer;
    const auto isEachAtWork = [&] { return churnFaultIn(enquirer.report(mChannel), alive).empty(); };
    EXPECT_TRUE(waitUntil(isEachAtWork));

    const pid_t victim = *alive.begin();
    alive.erase(victim);
    kill(victim, SIGKILL);
    EXPECT_TRUE(waitUntil([&] { return host->errors().ends_with("has ended\n"); }));
    EXPECT_THAT(host->errors(), testing::MatchesRegex("zunic_demo_bus: process churner[0-2] [(]" +
                                                      std::to_string(victim) + "[)] has ended\n"));
    const std::string before = enquirer.report(mChannel);
    EXPECT_TRUE(waitUntil([&] { return enquirer.report(mChannel) != before; })) << "nobody is at work any more";
    for (int i = 0; i < 100; ++i) {
        ASSERT_EQ(churnFaultIn(enquirer.report(mChannel), alive), "");
    }
    expectCleanEnd(*host, SIGTERM);
}

} // namespace
