#include "support/live_bus.h"
#include "support/text.h"

#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <regex>
#include <sys/socket.h>
#include <unistd.h>

using namespace TestSupport;

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

    /// For programs that are to find it.
    std::map<std::string, std::string> environment() const { return {{"DLT_PIPE_DIR", mDirectory.path().string()}}; }

    /// Whether it has told of that many registrations of the tool.
    bool awaitRegistrations(std::size_t count) const
    {
        const std::regex registration("ApplicationID 'OZEN' registered for PID [0-9]+, Description=Zunic Enquirer\n");
        return waitUntil([&] {
            const std::string log = readFile(mDirectory / "log");
            return countIn(std::regex_replace(log, registration, "{registered}"), "{registered}") == count;
        });
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
    const std::string with = queryAndReport(bus, daemon.environment());
    EXPECT_TRUE(daemon.awaitRegistrations(2));
    EXPECT_EQ(with, queryAndReport(bus, {}));

    // It is told of a run whose command line cannot be read, too.
    EXPECT_NE(runEnquirer({"--nonsense"}, {.environment = daemon.environment()}).status, 0);
    EXPECT_TRUE(daemon.awaitRegistrations(3));
}

/// Neither the call that keeps the library silent, nor the one that keeps it from waiting in the end, is there always.
TEST(Dlt, WithALibraryThatLacksWhatIsNotNeeded)
{
    const LiveBus bus(SCENARIO_DIR "/small.json");
    const std::string folder = std::filesystem::path(BARE_DLT).parent_path();
    const ProgramResult result =
        runEnquirer({"-l", "-i", "Clock", bus.channelName()}, {.environment = {{"LD_LIBRARY_PATH", folder}}});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output + result.errors, "registered OZEN, printing\n");
}

} // namespace
