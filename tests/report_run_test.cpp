#include "support/live_bus.h"
#include "support/text.h"

#include "zunic_hosting/hosted_channel.h"

#include <cerrno>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <regex>
#include <sys/file.h>
#include <unistd.h>

using namespace TestSupport;
using testing::ElementsAre;

namespace {

constexpr auto cReport = "interfaces_communicators_info.txt";
constexpr auto cGraph = "interfaces_communicators_info.dot";
constexpr auto cNoProcess = "readlink error: No such file or directory\n";

/// Report runs on the small scenario, in an empty working directory.
class ReportRun : public testing::Test
{
protected:
    TemporaryDirectory mDirectory;
    LiveBus mBus{SCENARIO_DIR "/small.json"};

    ProgramResult run(std::vector<std::string> arguments)
    {
        arguments.push_back(mBus.channelName());
        return runEnquirer(arguments, {.workingDirectory = mDirectory.path().string()});
    }

    std::string written(const std::string& name) const { return readFile(mDirectory / name); }
};

TEST_F(ReportRun, WritesEveryFileByteForByte)
{
    const ProgramResult result = run({"-d", "-o", "out"});
    EXPECT_EQ(result.status, 0);
    const std::string report = written(std::string("out/") + cReport);
    std::smatch seventh;
    ASSERT_TRUE(std::regex_search(report, seventh, std::regex("ProcessId:  ([0-9]+)\nCommunicatorId:   7\n")));
    const std::string gone = seventh[1];
    const std::string error = "ERROR: Unable to find application name from /proc/" + gone + "/exe\n";
    EXPECT_EQ(result.output, error + "path out/messages.txt\npath out/interfaces_communicators_info.txt\n" + error);
    EXPECT_EQ(result.errors, std::string(cNoProcess) + cNoProcess);
    EXPECT_THAT(mDirectory.entries("out"), ElementsAre(cGraph, cReport, "messages.txt"));
    std::map<std::string, std::string> processIds{{"tunerd", gone}};
    for (const auto& [name, id] : mBus.processes()) {
        processIds.emplace(name, std::to_string(id));
    }
    for (const std::string name : {cReport, cGraph, "messages.txt"}) {
        EXPECT_EQ(written("out/" + name), expectedText("small_" + name, processIds));
    }
}

TEST_F(ReportRun, WaitsUntilAnotherOneIsDoneWithTheDirectory)
{
    std::filesystem::create_directory(mDirectory / "out");
    const int other = open((mDirectory / "out").c_str(), O_DIRECTORY | O_CLOEXEC);
    ASSERT_EQ(flock(other, LOCK_SH), 0);
    Program report({ENQUIRER_BINARY, "-o", mDirectory / "out", mBus.channelName()});
    usleep(200'000);
    EXPECT_TRUE(report.isRunning());
    EXPECT_THAT(mDirectory.entries("out"), ElementsAre());
    close(other);
    EXPECT_EQ(report.wait(), 0);
    EXPECT_THAT(mDirectory.entries("out"), ElementsAre(cReport, "messages.txt"));
}

/// As a damaged registry may have it: many interfaces that name one function storage.
TEST(ReportOfSharedFunctions, IsCutAfter64MebibytesOfNames)
{
    constexpr std::uint16_t cInterfaces = 100;
    constexpr std::size_t cBlock = std::size_t{1} << 20;
    const TemporaryDirectory directory;
    auto channel = ZunicHosting::HostedChannel::create(
        {.name = uniqueChannelName(), .messageSlots = 1, .memoryManagers = {{cBlock, 1, 0, 1}}});
    {
        ZunicHosting::LockedRegistry registry = channel.lock();
        registry.registerCommunicator(static_cast<std::uint32_t>(getpid()), 1);
        const auto functions =
            registry.publishFunctions(std::vector<std::string>(4, std::string(cBlock / 4 - 64, 'f')));
        for (std::uint16_t id = 0; id < cInterfaces; ++id) {
            registry.registerInterface({.interfaceName = "I", .communicatorId = 1, .functions = functions, .id = id});
        }
    }
    EXPECT_EQ(runEnquirer({"-o", directory.path().string(), channel.name()}).status, 0);
    const std::string report = readFile(directory / cReport);
    EXPECT_GT(report.size(), 63 * cBlock);
    EXPECT_LT(report.size(), 65 * cBlock);
    EXPECT_EQ(countIn(report, "InterfaceName:   I\n"), cInterfaces);
    EXPECT_EQ(countIn(report, "Available functions"), 65U);
}

TEST_F(ReportRun, KeepsThePreviousDumpUnlessToldNotTo)
{
    const std::string dumpPath = "enquirer_output/messages.txt";
    EXPECT_EQ(run({}).status, 0);
    EXPECT_THAT(mDirectory.entries("enquirer_output"), ElementsAre(cReport, "messages.txt"));
    const std::string dump = written(dumpPath);

    writeFile(mDirectory / dumpPath, "previous");
    EXPECT_EQ(run({"-b", "-d"}).status, 0);
    EXPECT_THAT(mDirectory.entries("enquirer_output"), ElementsAre(cGraph, cReport, "messages.txt"));
    EXPECT_EQ(written(dumpPath), dump);

    writeFile(mDirectory / dumpPath, "previous");
    writeFile(mDirectory / (dumpPath + ".bak"), "older");
    EXPECT_EQ(run({}).status, 0);
    EXPECT_THAT(mDirectory.entries("enquirer_output"),
                ElementsAre(cGraph, cReport, "messages.txt", "messages.txt.bak"));
    EXPECT_EQ(written(dumpPath + ".bak"), "previous");
    EXPECT_EQ(written(dumpPath), dump);
}

TEST_F(ReportRun, TakesTheLastOutputDirectoryAsItIsGiven)
{
    EXPECT_THAT(run({"-o", "other", "--outputDir=out/"}).output,
                testing::HasSubstr("\npath out//messages.txt\npath out//interfaces_communicators_info.txt\n"));
    EXPECT_THAT(mDirectory.entries(), ElementsAre("out"));
}

TEST(FullScenario, GraphIsAcceptedByGraphviz)
{
    const TemporaryDirectory directory;
    const LiveBus bus(SCENARIO_DIR "/full.json");
    EXPECT_EQ(runEnquirer({"-d", "-o", directory.path().string(), bus.channelName()}).status, 0);
    // Laying it out would take minutes: it is read, and written out again without a layout.
    const ProgramResult read = runProgram({NOP_BINARY, directory / cGraph});
    EXPECT_EQ(read.status, 0);
    EXPECT_EQ(read.errors, "");
    EXPECT_EQ(countIn(read.output, "Comunicator #"), 1024U);
    EXPECT_EQ(countIn(read.output, "->"), 16384U);
    EXPECT_EQ(countIn(readFile(directory / cReport), "InterfaceName:   "), 1024U);
}

} // namespace
