#include "support/live_bus.h"

#include "oxa/oxa_result.h"
#include "zunic_hosting/hosted_channel.h"

#include <cerrno>
#include <functional>
#include <gmock/gmock.h>
#include <sched.h>
#include <sys/mount.h>

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
    std::string mDumpLine = "path " + mOutput + "/" + cDump + "\n";
    std::string mReportLine = "path " + mOutput + "/" + cReport + "\n";
    std::string mAllLines = mDumpLine + mReportLine;

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

    void expectIntact(const std::vector<std::string>& names) const
    {
        for (const std::string& name : names) {
            EXPECT_EQ(readFile(mOutput + "/" + name), mSound.at(name)) << name;
        }
    }

    /// A run that goes on as if all could be written. Whatever is in the files, it is the beginning of what should be.
    void expectBeginnings(const std::vector<std::string>& launcher) const
    {
        const ProgramResult result = runEnquirer({"-d", "-o", mOutput, mChannel.name()}, {.launcher = launcher});
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(result.output, mAllLines);
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
    const std::string noDump = mDumpLine + "Error opening the output file\n" + mReportLine;
    const auto directory = [](const char* name) { return [name](auto& in) { fs::create_directory(in / name); }; };
    const auto link = [](const char* to, const char* name) {
        return [to, name](auto& in) { fs::create_symlink(to, in / name); };
    };
    const Case cases[] = {
        {"a directory: the dump", directory(cDump), noDump, 0, {cReport, cGraph}},
        {"a directory: the scratch file", directory("temp.txt"), mReportLine, 0, {cReport, cGraph}},
        {"a directory: the report", directory(cReport), noReport, 0, {cGraph}},
        {"a directory: the graph", directory(cGraph), mAllLines + noReport, cFailed, {cReport, cDump}},
        {"a dangling link: the dump", link("/nonexistent/file", cDump), noDump, 0, {cReport, cGraph}},
        {"a dangling link: the report", link("no/file", cReport), noReport, 0, {cGraph}},
        {"a full device: the report", link("/dev/full", cReport), mAllLines, 0, {cDump, cGraph}},
        {"a full device: the dump", link("/dev/full", cDump), mAllLines, 0, {cReport, cGraph}},
        {"a full device: the scratch file", link("/dev/full", "temp.txt"), mAllLines, 0, {cReport}},
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

/// Where the test runs as root, the enquirer does so without its privileges.
TEST_F(FaultOfTheDisk, DirectoryThatCannotBeHad)
{
    writeFile(mDirectory / "file", "kept");
    fs::create_symlink("no/such/directory", mDirectory / "link");
    fs::create_directory(mOutput);
    fs::permissions(mOutput, fs::perms::owner_read | fs::perms::owner_exec);
    ProgramOptions unprivileged;
    if (geteuid() == 0) {
        unprivileged.launcher = {"/usr/bin/setpriv", "--bounding-set", "-all"};
    }
    const std::string noReport = "Error opening the output file!\n";
    const struct
    {
        const char* directory;
        int status;
        std::string output;
        std::string errors;
    } cases[] = {
        {"file", cFailed, noReport, ""},
        {"link", cFailed, noReport, ""},
        {"output", cFailed, noReport, ""},
        {"file/below", ENOTDIR, "", "Error creating output directory (Not a directory)\n"},
        {"output/below", EACCES, "", "Error creating output directory (Permission denied)\n"},
    };
    for (const auto& [directory, status, output, errors] : cases) {
        const ProgramResult result = runEnquirer({"-o", mDirectory / directory, mChannel.name()}, unprivileged);
        EXPECT_EQ(result.status, status) << directory;
        EXPECT_EQ(result.output, output);
        EXPECT_EQ(result.errors, errors);
    }
    EXPECT_EQ(readFile(mDirectory / "file"), "kept");
    EXPECT_TRUE(fs::is_empty(mOutput));
}

TEST_F(FaultOfTheDisk, FullFileSystem)
{
    fs::create_directory(mOutput);
    const char* const path = mOutput.c_str();
    if (unshare(CLONE_NEWNS) != 0 || mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
        mount("none", path, "tmpfs", 0, "size=4k") != 0) {
        GTEST_SKIP() << "nothing may be mounted here";
    }
    writeFile(mOutput + "/filling", std::string(4096, 'x'));
    expectBeginnings({});
    umount2(path, MNT_DETACH);
}

TEST_F(FaultOfTheDisk, LimitOnTheSizeOfFiles)
{
    // The limit is in blocks of 512 bytes. Its signal is ignored, so that the writes fail instead.
    expectBeginnings({"/bin/sh", "-c", "trap '' XFSZ; ulimit -f 1; exec \"$@\"", "sh"});
}

} // namespace
