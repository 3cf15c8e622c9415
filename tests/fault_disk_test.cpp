#include "support/live_bus.h"
#include "support/small_file_system.h"

#include "oxa/oxa_result.h"
#include "zunic_hosting/hosted_channel.h"

#include <cerrno>
#include <fcntl.h>
#include <functional>
#include <gmock/gmock.h>
#include <sys/stat.h>

using namespace TestSupport;
using testing::IsEmpty;
using ZunicHosting::InstanceType;

namespace {

namespace fs = std::filesystem;

constexpr auto cReport = "interfaces_communicators_info.txt";
constexpr auto cGraph = "interfaces_communicators_info.dot";
constexpr auto cDump = "messages.txt";
const int cFailed = static_cast<int>(OxaResult::cFailed.code());

/// A channel with two interfaces and a message, and what the enquirer says about it where nothing is in its way.
class FaultOfTheDisk : public testing::Test
{
protected:
    TemporaryDirectory mDirectory;
    std::string mOutput = mDirectory / "output";
    ZunicHosting::HostedChannel mChannel = ZunicHosting::HostedChannel::create({.name = uniqueChannelName()});
    std::map<std::string, std::string> mSound;

    void SetUp() override
    {
        {
            auto lock = mChannel.lock();
            const auto communicator = lock.registerCommunicator(static_cast<std::uint32_t>(getpid()));
            for (const InstanceType type : {InstanceType::skeleton, InstanceType::stub}) {
                lock.registerInterface({.interfaceName = "Clock", .type = type, .communicatorId = communicator});
            }
            lock.postMessage({.senderId = 1, .receivers = {0}}, 2);
        }
        const std::string sound = mDirectory / "sound";
        ASSERT_EQ(runEnquirer({"-d", "-o", sound, mChannel.name()}).status, 0);
        for (const std::string name : {cReport, cGraph, cDump}) {
            mSound[name] = readFile(fs::path(sound) / name);
            ASSERT_THAT(mSound[name], testing::Not(IsEmpty()));
        }
    }

    /// Nobody is kept waiting by what an enquirer left behind.
    void TearDown() override
    {
        EXPECT_NO_THROW(mChannel.lock());
        EXPECT_EQ(runEnquirer({"-i", "Clock", mChannel.name()}).status, 0);
    }

    std::string pathsOf(const std::vector<std::string>& names) const
    {
        std::string lines;
        for (const std::string& name : names) {
            lines += "path " + mOutput + "/" + name + "\n";
        }
        return lines;
    }

    void expectIntact(const std::vector<std::string>& names) const
    {
        for (const std::string& name : names) {
            EXPECT_EQ(readFile(mOutput + "/" + name), mSound.at(name)) << name;
        }
    }

    /// Whatever is in the files, it is the beginning of what should be.
    void expectBeginnings() const
    {
        for (const auto& [name, text] : mSound) {
            const std::string written = readFile(mOutput + "/" + name);
            EXPECT_LT(written.size(), text.size()) << name;
            EXPECT_TRUE(text.starts_with(written)) << name;
        }
        EXPECT_FALSE(fs::exists(mOutput + "/temp.txt"));
    }
};

TEST_F(FaultOfTheDisk, SomethingElseInPlaceOfAFile)
{
    struct Case
    {
        const char* description;
        std::function<void(const fs::path&)> prepare;
        std::string output;
        int status;
        std::vector<std::string> intact;
    };
    const std::string noReport = "Error opening the output file!\n";
    const std::string noDump =
        "path " + mOutput + "/messages.txt\nError opening the output file\n" + pathsOf({cReport});
    const auto directory = [](const char* name) { return [name](auto& in) { fs::create_directory(in / name); }; };
    const auto link = [](const char* to, const char* name) {
        return [to, name](auto& in) { fs::create_symlink(to, in / name); };
    };
    const Case cases[] = {
        {"a directory: the dump", directory(cDump), noDump, 0, {cReport, cGraph}},
        {"a directory: the scratch file", directory("temp.txt"), pathsOf({cReport}), 0, {cReport, cGraph}},
        {"a directory: the report", directory(cReport), noReport, 0, {cGraph}},
        {"a directory: the graph", directory(cGraph), pathsOf({cDump, cReport}) + noReport, cFailed, {cReport, cDump}},
        {"a dangling link: the dump", link("/nonexistent/file", cDump), noDump, 0, {cReport, cGraph}},
        {"a dangling link: the scratch file", link("no/file", "temp.txt"), pathsOf({cReport}), 0, {cReport, cGraph}},
        {"a dangling link: the report", link("no/file", cReport), noReport, 0, {cGraph}},
        {"a full device: the report", link("/dev/full", cReport), pathsOf({cDump, cReport}), 0, {cDump, cGraph}},
        {"a full device: the dump", link("/dev/full", cDump), pathsOf({cDump, cReport}), 0, {cReport, cGraph}},
        {"a full device: the scratch file", link("/dev/full", "temp.txt"), pathsOf({cDump, cReport}), 0, {cReport}},
    };
    for (const Case& fault : cases) {
        SCOPED_TRACE(fault.description);
        fs::remove_all(mOutput);
        fs::create_directory(mOutput);
        fault.prepare(mOutput);
        const ProgramResult result = runEnquirer({"-b", "-d", "-o", mOutput, mChannel.name()});
        EXPECT_EQ(result.status, fault.status);
        EXPECT_EQ(result.output, fault.output);
        EXPECT_EQ(result.errors, "");
        expectIntact(fault.intact);
    }
}

TEST_F(FaultOfTheDisk, SomethingElseInPlaceOfTheDirectory)
{
    writeFile(mDirectory / "file", "kept");
    fs::create_symlink("no/such/directory", mDirectory / "link");
    for (const std::string name : {"file", "link"}) {
        const ProgramResult result = runEnquirer({"-o", mDirectory / name, mChannel.name()});
        EXPECT_EQ(result.status, cFailed);
        EXPECT_EQ(result.output, "Error opening the output file!\n");
        EXPECT_EQ(result.errors, "");
    }
    const ProgramResult result = runEnquirer({"-o", mDirectory / "file/output", mChannel.name()});
    EXPECT_EQ(result.status, ENOTDIR);
    EXPECT_EQ(result.errors, "Error creating output directory (Not a directory)\n");
    EXPECT_EQ(readFile(mDirectory / "file"), "kept");
}

/// Where the test runs as root, the enquirer does so without its privileges.
TEST_F(FaultOfTheDisk, DirectoryThatMayNotBeWrittenTo)
{
    fs::create_directory(mOutput);
    fs::permissions(mOutput, fs::perms::owner_read | fs::perms::owner_exec);
    ProgramOptions unprivileged;
    if (geteuid() == 0) {
        unprivileged.launcher = {"/usr/bin/setpriv", "--bounding-set", "-all"};
    }
    ProgramResult result = runEnquirer({"-o", mOutput, mChannel.name()}, unprivileged);
    EXPECT_EQ(result.status, cFailed);
    EXPECT_EQ(result.output, "Error opening the output file!\n");
    EXPECT_EQ(result.errors, "");

    result = runEnquirer({"-o", mOutput + "/below", mChannel.name()}, unprivileged);
    EXPECT_EQ(result.status, EACCES);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.errors, "Error creating output directory (Permission denied)\n");
    EXPECT_TRUE(fs::is_empty(mOutput));
}

TEST_F(FaultOfTheDisk, FullFileSystem)
{
    fs::create_directory(mOutput);
    const SmallFileSystem small(mOutput);
    if (!small.isMounted()) {
        GTEST_SKIP() << "nothing may be mounted here";
    }
    small.fill();
    const ProgramResult result = runEnquirer({"-d", "-o", mOutput, mChannel.name()});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, pathsOf({cDump, cReport}));
    EXPECT_EQ(result.errors, "");
    expectBeginnings();
}

TEST_F(FaultOfTheDisk, LimitOnTheSizeOfFiles)
{
    // The limit is in blocks of 512 bytes. Its signal is ignored, so that the writes fail instead.
    const ProgramResult result =
        runEnquirer({"-d", "-o", mOutput, mChannel.name()},
                    {.launcher = {"/bin/sh", "-c", "trap '' XFSZ; ulimit -f 1; exec \"$@\"", "sh"}});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, pathsOf({cDump, cReport}));
    expectBeginnings();
}

} // namespace
