#include "support/inspect.h"
#include "support/live_bus.h"
#include "support/sanitized.h"

#include "zunic_hosting/channel_format.h"
#include "zunic_hosting/hosted_channel.h"

#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <numeric>
#include <sys/resource.h>

// Whatever a bus or a file contains, a command needs at most 64 MiB and four times the size of the channel's object, or
// 32 times that of the file.

using namespace TestSupport;
using ZunicHosting::HostedChannel;
using ZunicHosting::InstanceType;

namespace {

constexpr std::size_t cBase = std::size_t{64} << 20;
constexpr std::uint16_t cInterfaces = ZunicHosting::cInterfaceCapacity;

struct Ended
{
    int mStatus;       ///< as of ForkedChild::wait
    std::size_t mPeak; ///< bytes of memory
};

/// Runs zunic_inspect with its output thrown away.
Ended inspectOnce(const std::vector<std::string>& arguments)
{
    std::vector<std::string> words = inspectWords(arguments);
    const pid_t child = fork();
    if (child == 0) {
        alarm(250);
        const int nowhere = open("/dev/null", O_RDWR | O_CLOEXEC);
        dup2(nowhere, STDOUT_FILENO);
        dup2(nowhere, STDERR_FILENO);
        std::vector<char*> pointers;
        pointers.reserve(words.size() + 1);
        for (std::string& word : words) {
            pointers.push_back(word.data());
        }
        pointers.push_back(nullptr);
        execv(pointers[0], pointers.data());
        _exit(127);
    }
    int status = 0;
    rusage usage{};
    wait4(child, &status, 0, &usage);
    return {WIFSIGNALED(status) ? 1000 + WTERMSIG(status) : WEXITSTATUS(status),
            static_cast<std::size_t>(usage.ru_maxrss) * 1024};
}

void expectWithin(std::size_t limit, const std::vector<std::string>& arguments)
{
    const Ended ended = inspectOnce(arguments);
    const std::string line = std::accumulate(arguments.begin(), arguments.end(), std::string(),
                                             [](const auto& one, const auto& other) { return one + ' ' + other; });
    EXPECT_TRUE(ended.mStatus >= 0 && ended.mStatus <= eNoState && ended.mStatus != eFailed) << ended.mStatus << line;
    EXPECT_LE(ended.mPeak >> 20, limit >> 20) << line;
}

/// Each of the commands, with the channel behind it.
void expectWithin(const HostedChannel& channel, const std::vector<std::vector<std::string>>& commands)
{
    for (std::vector<std::string> command : commands) {
        command.insert(command.end(), {"-c", channel.name()});
        expectWithin(cBase + 4 * channel.bytes().size(), command);
    }
}

class FaultOfTheMemory : public testing::Test
{
protected:
    void SetUp() override
    {
        if (cIsSanitized) {
            GTEST_SKIP() << "a sanitizer needs memory of its own";
        }
    }
};

TEST_F(FaultOfTheMemory, OneFunctionStorageAndAllLinksForAllInterfaces)
{
    HostedChannel channel =
        HostedChannel::create({.name = uniqueChannelName(), .memoryManagers = {{800'000, 1, 0, 1}}});
    const auto registerAll = [&](oxa_zunic_range_location functions) {
        for (std::uint16_t id = 0; id < cInterfaces; ++id) {
            channel.lock().registerInterface({.interfaceName = std::to_string(id % 2),
                                              .type = InstanceType::skeleton,
                                              .functions = functions,
                                              .id = id});
        }
    };
    const TemporaryDirectory directory;
    const std::string before = directory / "before.json";
    registerAll(ZunicHosting::cNoLocation);
    expectWithin(channel, {{"save", before}});
    for (std::uint16_t id = 0; id < cInterfaces; ++id) {
        channel.lock().unregisterInterface(id);
    }
    const oxa_zunic_range_location functions = channel.lock().publishFunctions(std::vector<std::string>(65'535));
    registerAll(functions);
    for (std::uint16_t holder = 0; holder < cInterfaces; ++holder) {
        auto lock = channel.lock();
        for (std::uint16_t receiver = 0; receiver < cInterfaces; ++receiver) {
            lock.connect(holder, receiver);
        }
    }
    expectWithin(channel, {{"list", "-o", "+FUNCTIONS"},
                           {"list", "--json"},
                           {"show", "--json", "5"},
                           {"save", "-"},
                           {"save", "--as-contract", "-"},
                           {"page", "-"},
                           {"check", "--again", "1ms"},
                           {"metrics", "--again", "1ms"},
                           {"watch", "--for", "1ms", "--until", "dead-process"},
                           {"diff", before}});
}

TEST_F(FaultOfTheMemory, AllReceiversInAllSlots)
{
    constexpr std::uint32_t cSlots = 65'536;
    HostedChannel channel = HostedChannel::create({.name = uniqueChannelName(), .messageSlots = cSlots});
    std::vector<std::uint16_t> receivers(cInterfaces);
    std::iota(receivers.begin(), receivers.end(), std::uint16_t{0});
    channel.lock().writeSlot(0, {.state = ZunicHosting::SlotState::message, .senderId = 1, .receivers = receivers});
    for (std::size_t index = 1; index < cSlots; ++index) {
        std::memcpy(channel.messages() + index * sizeof(ZunicFormat::MessageSlot), channel.messages(),
                    sizeof(ZunicFormat::MessageSlot));
    }
    expectWithin(channel, {{"check", "--json", "--again", "1ms"},
                           {"metrics", "--again", "1ms"},
                           {"page", "-"},
                           {"list", "messages", "-o", "SLOT"},
                           {"list", "messages"},
                           {"list", "messages", "--all"}});
}

TEST_F(FaultOfTheMemory, FilesOfMuchInLittleText)
{
    const TemporaryDirectory directory;
    const std::string file = directory / "file.json";
    const std::string deep = std::string(30, '[') + std::string(30, ']');
    for (const std::string& value : {std::string("\"\""), std::string("0"), std::string("[]"), std::string("{}"), deep,
                                     std::string(R"({"":""})")}) {
        std::string text = R"({"schema":"zunic-bus-state/1","other":[)";
        while (text.size() < 6'000'000) {
            text += value + ',';
        }
        writeFile(file, text + value + "]}");
        const std::size_t limit = cBase + 32 * std::filesystem::file_size(file);
        expectWithin(limit, {"list", "--from", file});
        expectWithin(limit, {"check", "--from", file, "--expect", file});
    }
}

} // namespace
