#include "support/live_bus.h"

#include "oxa/oxa_result.h"

#include <cerrno>
#include <gmock/gmock.h>
#include <regex>

using namespace TestSupport;
using testing::ElementsAre;

namespace {

constexpr auto cReport = "interfaces_communicators_info.txt";
constexpr auto cGraph = "interfaces_communicators_info.dot";
constexpr auto cNoProcess = "readlink error: No such file or directory\n";

/// The process id of a communicator, as the report gives it.
std::string processIdIn(const std::string& report, unsigned communicatorId)
{
    std::smatch match;
    const std::regex block("ProcessId:  ([0-9]+)\nCommunicatorId:   " + std::to_string(communicatorId) + "\n");
    EXPECT_TRUE(std::regex_search(report, match, block)) << report;
    return match[1];
}

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

    /// The expected file of that name, with the ids of the processes of this run.
    std::string expected(const std::string& name, const std::string& processIdOfTheGone) const
    {
        std::string text = readFile(std::string(EXPECTED_DIR "/small_") + name);
        std::map<std::string, std::string> processIds{{"tunerd", processIdOfTheGone}};
        for (const auto& [process, id] : mBus.processes()) {
            processIds.emplace(process, std::to_string(id));
        }
        for (const auto& [process, id] : processIds) {
            text = std::regex_replace(text, std::regex("\\{" + process + "\\}"), id);
        }
        return text;
    }

    std::set<std::string> filesIn(const std::string& name) const
    {
        std::set<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(mDirectory / name)) {
            names.insert(entry.path().filename().string());
        }
        return names;
    }
};

TEST_F(ReportRun, WritesEveryFileByteForByte)
{
    const ProgramResult result = run({"-d", "-o", "out"});
    EXPECT_EQ(result.status, 0);
    const std::string gone = processIdIn(written(std::string("out/") + cReport), 7);
    const std::string error = "ERROR: Unable to find application name from /proc/" + gone + "/exe\n";
    EXPECT_EQ(result.output, error + "path out/messages.txt\npath out/interfaces_communicators_info.txt\n" + error);
    EXPECT_EQ(result.errors, std::string(cNoProcess) + cNoProcess);
    EXPECT_THAT(filesIn("out"), ElementsAre(cGraph, cReport, "messages.txt"));
    for (const std::string name : {cReport, cGraph, "messages.txt"}) {
        EXPECT_EQ(written("out/" + name), expected(name, gone));
    }
}

TEST_F(ReportRun, KeepsThePreviousDumpUnlessToldNotTo)
{
    EXPECT_EQ(run({}).status, 0);
    EXPECT_THAT(filesIn("enquirer_output"), ElementsAre(cReport, "messages.txt"));
    const std::string report = written(std::string("enquirer_output/") + cReport);
    const std::string dump = written("enquirer_output/messages.txt");

    writeFile(mDirectory / "enquirer_output/messages.txt", "previous");
    EXPECT_EQ(run({"-b", "-d"}).status, 0);
    EXPECT_THAT(filesIn("enquirer_output"), ElementsAre(cGraph, cReport, "messages.txt"));
    EXPECT_EQ(written("enquirer_output/messages.txt"), dump);

    writeFile(mDirectory / "enquirer_output/messages.txt", "previous");
    writeFile(mDirectory / "enquirer_output/messages.txt.bak", "older");
    EXPECT_EQ(run({}).status, 0);
    EXPECT_THAT(filesIn("enquirer_output"), ElementsAre(cGraph, cReport, "messages.txt", "messages.txt.bak"));
    EXPECT_EQ(written("enquirer_output/messages.txt.bak"), "previous");
    EXPECT_EQ(written("enquirer_output/messages.txt"), dump);
    EXPECT_EQ(written(std::string("enquirer_output/") + cReport), report);
}

TEST_F(ReportRun, TakesTheOutputDirectoryInEveryForm)
{
    const std::vector<std::string> forms[] = {{"-o", "out"},          {"-oout"},
                                              {"-bo", "out"},         {"--outputDir=out"},
                                              {"--outputDir", "out"}, {"-o", "other", "-o", "out"}};
    for (const std::vector<std::string>& form : forms) {
        SCOPED_TRACE(testing::PrintToString(form));
        EXPECT_THAT(run(form).output, testing::HasSubstr("\npath out/messages.txt\npath out/interfaces_comm"));
        EXPECT_THAT(mDirectory.entries(), ElementsAre("out"));
        std::filesystem::remove_all(mDirectory / "out");
    }
    EXPECT_THAT(run({"-o", "out/"}).output, testing::HasSubstr("\npath out//messages.txt\n"));
    EXPECT_THAT(filesIn("out"), ElementsAre(cReport, "messages.txt"));
}

TEST_F(ReportRun, FailsWhereTheDirectoryCannotBeMade)
{
    ProgramResult result = run({"-d", "-o", "missing/out"});
    EXPECT_EQ(result.status, ENOENT);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.errors, "Error creating output directory (No such file or directory)\n");

    result = run({"-o", ""});
    EXPECT_EQ(result.status, ENOENT);
    EXPECT_THAT(mDirectory.entries(), testing::IsEmpty());

    // What is there already counts as the directory until a file has to be opened in it.
    writeFile(mDirectory / "out", "a file");
    result = run({"-d", "-o", "out"});
    EXPECT_EQ(result.status, static_cast<int>(OxaResult::cFailed.code()));
    EXPECT_EQ(result.output, "Error opening the output file!\nError opening the output file!\n");
    EXPECT_EQ(result.errors, "");
    EXPECT_EQ(written("out"), "a file");
}

TEST_F(ReportRun, GraphIsDrawnByGraphviz)
{
    EXPECT_EQ(run({"-d", "-o", "out"}).status, 0);
    const ProgramResult drawn = runProgram(
        {DOT_BINARY, "-Tsvg", "-o", mDirectory / "graph.svg", mDirectory / "out" + ("/" + std::string(cGraph))});
    EXPECT_EQ(drawn.status, 0) << drawn.errors;
    EXPECT_EQ(drawn.errors, "");
    const std::string picture = written("graph.svg");
    for (const char* const text : {"Comunicator #7", "Traffic", "Legend", "Stub5&#45;&gt;Skeleton1"}) {
        EXPECT_THAT(picture, testing::HasSubstr(text));
    }
}

TEST(FullScenario, GraphIsAcceptedByGraphviz)
{
    const TemporaryDirectory directory;
    const LiveBus bus(SCENARIO_DIR "/full.json");
    const ProgramResult result = runEnquirer({"-d", "-o", directory.path().string(), bus.channelName()});
    EXPECT_EQ(result.status, 0);
    const std::string graph = directory / cGraph;
    // Laying it out would take minutes: it is read, and written out again without a layout.
    const ProgramResult read = runProgram({NOP_BINARY, graph});
    EXPECT_EQ(read.status, 0) << read.errors;
    EXPECT_EQ(read.errors, "");
    const auto countIn = [](const std::string& text, const std::string& what) {
        std::size_t count = 0;
        for (std::size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += what.size()) {
            ++count;
        }
        return count;
    };
    EXPECT_EQ(countIn(readFile(graph), "Comunicator #"), 1024U);
    EXPECT_EQ(countIn(readFile(graph), "->"), countIn(read.output, "->"));
    EXPECT_EQ(countIn(readFile(directory / cReport), "InterfaceName:   "), 1024U);
}

} // namespace
