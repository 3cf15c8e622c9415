#include "support/live_bus.h"
#include "support/soak.h"

#include "oxa/oxa_result.h"
#include "zunic_hosting/channel_format.h"
#include "zunic_hosting/hosted_channel.h"

#include <algorithm>
#include <cstring>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <numeric>
#include <unistd.h>

using namespace TestSupport;
using testing::HasSubstr;
using ZunicHosting::HostedChannel;
using ZunicHosting::InstanceType;

namespace {

constexpr std::size_t cMutexOffset = ZunicFormat::cSuperblockSize + offsetof(ZunicFormat::Registry, mutex);

/// All bytes of a channel but those of its mutex.
std::string bytesWithoutMutex(const HostedChannel& channel)
{
    std::string bytes(reinterpret_cast<const char*>(channel.bytes().data()), channel.bytes().size());
    return bytes.erase(cMutexOffset, cOxaMutexSize);
}

TEST(FaultOfTheReader, NoRunChangesTheChannel)
{
    const LiveBus bus(SCENARIO_DIR "/small.json");
    const HostedChannel channel = HostedChannel::attach(bus.channelName());
    const TemporaryDirectory directory;
    const std::string before = bytesWithoutMutex(channel);
    const int runs = rounds(10, 1000);
    for (int i = 0; i < runs / 2; ++i) {
        ASSERT_EQ(runEnquirer({"-i", "Clock", bus.channelName()}).status, 0);
        ASSERT_EQ(runEnquirer({"-d", "-o", directory / "output", bus.channelName()}).status, 0);
    }
    EXPECT_TRUE(bytesWithoutMutex(channel) == before);
    figures() << runs << " runs left " << before.size() << " bytes as they were\n";
}

/// The mapping of a channel that the tool itself has, seen while it is stopped in the middle of a report.
TEST(FaultOfTheReader, OnlyThePageOfTheMutexCanBeWrittenByTheTool)
{
    const LiveBus bus(SCENARIO_DIR "/full.json");
    const TemporaryDirectory directory;
    const Program tool({ENQUIRER_BINARY, "-o", directory / "output", bus.channelName()},
                       {.environment = {{"DLT_PIPE_DIR", directory.path().string()}}});
    const std::string report = directory / "output/interfaces_communicators_info.txt";
    ASSERT_TRUE(waitUntil([&] { return std::filesystem::exists(report) || !tool.isRunning(); }));
    kill(tool.processId(), SIGSTOP);
    std::istringstream maps(readFile("/proc/" + std::to_string(tool.processId()) + "/maps"));
    std::size_t writableBytes = 0;
    std::size_t mappings = 0;
    for (std::string line; std::getline(maps, line);) {
        unsigned long begin = 0;
        unsigned long end = 0;
        char access[5] = {};
        if (line.find("/zunic." + bus.channelName()) != std::string::npos) {
            ASSERT_EQ(std::sscanf(line.c_str(), "%lx-%lx %4s", &begin, &end, access), 3);
            ++mappings;
            writableBytes += access[1] == 'w' ? end - begin : 0;
        }
    }
    EXPECT_GT(mappings, 1U);
    EXPECT_EQ(writableBytes, static_cast<std::size_t>(sysconf(_SC_PAGESIZE)));
}

TEST(FaultOfPermission, ChannelIsForItsOwnerAndItsGroup)
{
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can give a channel to somebody else";
    }
    constexpr uid_t cSomebody = 65534;
    const struct
    {
        std::optional<gid_t> group;
        uid_t owner;
        bool isLetIn;
    } cases[] = {
        {{}, geteuid(), true}, {{}, cSomebody, false}, {getegid(), cSomebody, true}, {cSomebody, cSomebody, false}};
    for (const auto& [group, owner, isLetIn] : cases) {
        HostedChannel channel = HostedChannel::create({.name = uniqueChannelName(), .group = group});
        channel.lock().registerInterface({.interfaceName = "Clock", .roleName = "Provider"});
        ASSERT_EQ(chown(("/dev/shm/zunic." + channel.name()).c_str(), owner, static_cast<gid_t>(-1)), 0);
        const ProgramResult result =
            runEnquirer({"-i", "Clock", channel.name()}, {.launcher = {"/usr/bin/setpriv", "--bounding-set", "-all"}});
        EXPECT_EQ(result.status, isLetIn ? 0 : static_cast<int>(OxaResult::cObjectInvalid.code()));
        EXPECT_EQ(result.errors.empty(), isLetIn) << result.errors;
    }
}

/// Neither may touch the mutex, or take longer than any other channel that is none.
TEST(FaultOfPermission, NoneIsGivenByAnotherPidNamespaceOrALease)
{
    const HostedChannel channel = HostedChannel::create({.name = uniqueChannelName()});
    const auto& mutex = reinterpret_cast<const ZunicFormat::Registry*>(channel.registry())->mutex;
    const std::vector<std::uint8_t> before(std::begin(mutex), std::end(mutex));
    const std::string refusal = "Failed to initialise (using shared memory channel name \"" + channel.name() + "\")\n";
    if (runProgram({"/usr/bin/unshare", "-pf", "/bin/true"}).status == 0) {
        const ProgramResult result =
            runEnquirer({"-i", "Clock", channel.name()}, {.launcher = {"/usr/bin/unshare", "-pf"}});
        EXPECT_EQ(result.status, static_cast<int>(OxaResult::cObjectInvalid.code()));
        EXPECT_EQ(result.errors, refusal);
        EXPECT_THAT(mutex, testing::ElementsAreArray(before));
    }

    const std::string squatted = "/dev/shm/zunic." + channel.name() + "x";
    writeFile(squatted, "");
    const int owner = open(squatted.c_str(), O_RDWR);
    std::signal(SIGIO, SIG_IGN);
    ASSERT_EQ(fcntl(owner, F_SETLEASE, F_WRLCK), 0);
    EXPECT_EQ(runEnquirer({"-i", "Clock", channel.name() + "x"}, {.watchdog = std::chrono::seconds(20)}).status,
              static_cast<int>(OxaResult::cObjectInvalid.code()));
    close(owner);
    std::filesystem::remove(squatted);
}

std::string everyByteButNul()
{
    std::string bytes(255, '\0');
    std::iota(bytes.begin(), bytes.end(), '\1');
    return bytes;
}

/// Puts `name`, of up to 256 bytes, into all three fields of the first interface. Behind the back of the hosting side,
/// which ends every name with a NUL.
void putName(const HostedChannel& channel, const std::string& name)
{
    auto& entry = reinterpret_cast<ZunicFormat::Registry*>(channel.registry())->interfaces[0];
    for (char* const field : {entry.interfaceName, entry.roleName, entry.domainName}) {
        std::memset(field, 0, ZunicFormat::cNameSize);
        name.copy(field, ZunicFormat::cNameSize);
    }
}

TEST(FaultOfNames, AreReportedByteForByte)
{
    HostedChannel channel = HostedChannel::create({.name = uniqueChannelName()});
    const auto communicator = channel.lock().registerCommunicator(static_cast<std::uint32_t>(getpid()));
    for (const InstanceType type : {InstanceType::skeleton, InstanceType::stub}) {
        channel.lock().registerInterface({.type = type, .communicatorId = communicator});
    }
    const TemporaryDirectory directory;
    const std::string output = directory / "output";
    for (const std::string& name :
         {everyByteButNul(), std::string(255, 'n'), std::string(256, '\xFF'), std::string("\"]; } \\\" -> \n")}) {
        SCOPED_TRACE(testing::PrintToString(name));
        putName(channel, name);
        EXPECT_EQ(runEnquirer({"-d", "-o", output, channel.name()}).status, 0);
        EXPECT_THAT(
            readFile(output + "/interfaces_communicators_info.txt"),
            HasSubstr("InterfaceName:   " + name + "\nRoleName:   " + name + "\nDomainName:   " + name + "\nType:   "));
        const std::string graph = readFile(output + "/interfaces_communicators_info.dot");
        EXPECT_THAT(graph, HasSubstr(name));
        EXPECT_THAT(graph, testing::EndsWith("\n}\n"));
        EXPECT_THAT(readFile(output + "/messages.txt"), testing::StartsWith("The message queue currently contains 0"));
        EXPECT_EQ(runEnquirer({"-i", name, "-r", name, "-m", name, channel.name()}).status, 0);
    }
}

} // namespace
