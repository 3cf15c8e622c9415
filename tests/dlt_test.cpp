#include "support/live_bus.h"

#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <sys/socket.h>
#include <unistd.h>

using namespace TestSupport;
using testing::HasSubstr;

namespace {

constexpr auto cDaemon = "/usr/bin/dlt-daemon";

/// A TCP port that nobody listens on at the moment.
std::string freePort()
{
    const int descriptor = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    socklen_t size = sizeof address;
    EXPECT_EQ(bind(descriptor, reinterpret_cast<sockaddr*>(&address), size), 0);
    EXPECT_EQ(getsockname(descriptor, reinterpret_cast<sockaddr*>(&address), &size), 0);
    close(descriptor);
    return std::to_string(ntohs(address.sin_port));
}

/// A DLT daemon with a directory and a port of its own, so that it meets no other one.
class DltDaemon
{
public:
    DltDaemon()
    {
        writeFile(mDirectory / "dlt.conf",
                  "LoggingMode = 2\nLoggingLevel = 7\nLoggingFilename = " + (mDirectory / "log") +
                      "\nControlSocketPath = " + (mDirectory / "control") +
                      "\nPersistanceStoragePath = " + mDirectory.path().string() + "\n");
        mDaemon.emplace(std::vector<std::string>{cDaemon, "-c", mDirectory / "dlt.conf", "-t",
                                                 mDirectory.path().string(), "-p", freePort()});
        EXPECT_TRUE(waitUntil([&] { return std::filesystem::is_fifo(mDirectory / "dlt"); })) << mDaemon->errors();
    }

    const TemporaryDirectory& directory() const { return mDirectory; }

    /// How often the daemon has told of the tool's registration.
    std::size_t registrations() const
    {
        const std::string log = readFile(mDirectory / "log");
        const std::string start = "ApplicationID 'OZEN' registered for PID ";
        const std::string end = ", Description=Zunic Enquirer\n";
        std::size_t count = 0;
        for (std::size_t at = 0; (at = log.find(start, at)) != std::string::npos; at += start.size()) {
            count += log.compare(log.find(',', at), end.size(), end) == 0 ? 1 : 0;
        }
        return count;
    }

private:
    TemporaryDirectory mDirectory;
    std::optional<Program> mDaemon;
};

/// A query and a report; returns what the report wrote.
std::string queryAndReport(const LiveBus& bus, const std::map<std::string, std::string>& environment)
{
    const TemporaryDirectory directory;
    // Left alone, the DLT library keeps a program for ten seconds when it ends without a daemon.
    const ProgramOptions options{directory.path().string(), environment, std::chrono::seconds(7)};
    EXPECT_EQ(runEnquirer({"-i", "Clock", bus.channelName()}, options).status, 0);
    const ProgramResult report = runEnquirer({"-d", "-o", "out", bus.channelName()}, options);
    EXPECT_EQ(report.status, 0);
    return report.output + report.errors + readFile(directory / "out/interfaces_communicators_info.txt") +
           readFile(directory / "out/messages.txt") + readFile(directory / "out/interfaces_communicators_info.dot");
}

TEST(Dlt, RegistersWithADaemonAndDoesTheSameWithoutOne)
{
    if (!std::filesystem::exists(cDaemon)) {
        GTEST_SKIP() << "dlt-daemon is not installed";
    }
    const LiveBus bus(SCENARIO_DIR "/small.json");
    const DltDaemon daemon;
    const std::string with = queryAndReport(bus, {{"DLT_PIPE_DIR", daemon.directory().path().string()}});
    EXPECT_TRUE(waitUntil([&] { return daemon.registrations() == 2; })) << readFile(daemon.directory() / "log");
    EXPECT_EQ(with, queryAndReport(bus, {}));
}

TEST(Dlt, IsToldOfARunWhoseCommandLineCannotBeRead)
{
    if (!std::filesystem::exists(cDaemon)) {
        GTEST_SKIP() << "dlt-daemon is not installed";
    }
    const DltDaemon daemon;
    EXPECT_NE(
        runEnquirer({"--nonsense"}, {.environment = {{"DLT_PIPE_DIR", daemon.directory().path().string()}}}).status, 0);
    EXPECT_TRUE(waitUntil([&] { return daemon.registrations() == 1; })) << readFile(daemon.directory() / "log");
}

} // namespace
