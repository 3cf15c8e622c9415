#include "support/inspect.h"
#include "support/json_schema.h"
#include "support/live_bus.h"
#include "support/program.h"
#include "support/text.h"

#include "zunic_hosting/hosted_channel.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <nlohmann/json.hpp>
#include <sstream>
#include <vector>

using testing::ContainsRegex;
using testing::HasSubstr;
using TestSupport::inspect;
using TestSupport::inspectWords;
using TestSupport::Program;
using TestSupport::runProgram;
using enum TestSupport::InspectStatus;
using ZunicHosting::HostedChannel;

namespace {

TEST(DiffCommand, ComparesFilesAndTheLiveBusAndTellsByItsStatus)
{
    const TestSupport::TemporaryDirectory directory;
    const std::string first = directory / "first.json";
    const std::string second = directory / "second.json";
    std::string channel;
    {
        const TestSupport::LiveBus bus(SCENARIO_DIR "/small.json");
        ASSERT_EQ(inspect({"save", "-c", bus.channelName(), first}).status, eYes);
        EXPECT_EQ(inspect({"diff", first, "-c", bus.channelName()}).output, "");
        kill(bus.processes().at("clockd"), SIGKILL);
        ASSERT_TRUE(TestSupport::waitUntil([&] {
            return inspect({"diff", first, "-c", bus.channelName()}).status == eNo;
        }));
        ASSERT_EQ(inspect({"save", "-c", bus.channelName(), second}).status, eYes);
        channel = bus.channelName();
    }
    const auto text = inspect({"diff", first, second, "--color", "always"});
    EXPECT_THAT(text.output, ContainsRegex("^\x1b\\[33m~ process clockd \\([0-9]+\\): living yes -> no\x1b\\[0m\n$"));
    EXPECT_EQ(text.status, eNo);
    EXPECT_EQ(inspect({"diff", first, second, "--ignore", "link,process"}).status, eYes);
    const std::string elsewhere = directory / "elsewhere.json";
    std::string state = TestSupport::readFile(second);
    const std::size_t host = state.find("\"host\": \"") + 9;
    const std::string here = state.substr(host, state.find('"', host) - host);
    TestSupport::writeFile(elsewhere, state.replace(host, here.size(), "other\\u001b"));
    EXPECT_EQ(inspect({"diff", second, elsewhere}).output, "# different machines: " + here + " and other\\x1b\n");
    const auto json = inspect({"diff", "--json", first, second});
    TestSupport::writeFile(directory / "diff.json", json.output);
    EXPECT_EQ(TestSupport::invalidity("bus_diff.schema.json", directory / "diff.json"), "");
    EXPECT_EQ(inspect({"diff", first, "-c", channel}).status, eNoChannel);
    EXPECT_EQ(inspect({"diff", first, directory / "none.json"}).status, eNoState);
    for (const std::vector<std::string>& mistake :
         std::vector<std::vector<std::string>>{{"diff"},
                                               {"diff", "-", "-"},
                                               {"diff", first, second, "-c", "x"},
                                               {"diff", first, second, "--ignore", "all"},
                                               {"watch", "--interval", "0"},
                                               {"watch", "--until", "no-such-finding"}}) {
        EXPECT_EQ(inspect(mistake).status, eFailed) << testing::PrintToString(mistake);
    }
}

/// A bus with one process, which is the test itself.
class WatchedBus
{
public:
    explicit WatchedBus(const std::string& channel) : mChannel(HostedChannel::create({.name = channel}))
    {
        mChannel.lock().registerCommunicator(static_cast<std::uint32_t>(getpid()), 3);
        mClock = add("Clock", ZunicHosting::InstanceType::skeleton);
    }

    std::uint16_t add(const std::string& name, ZunicHosting::InstanceType type)
    {
        return mChannel.lock().registerInterface({.interfaceName = name, .type = type, .communicatorId = 3});
    }

    HostedChannel mChannel;
    std::uint16_t mClock = 0;
};

TEST(WatchCommand, TellsWhatHappensAtOnceAndLivesThroughTheChannelGoingAway)
{
    const std::string channel = TestSupport::uniqueChannelName();
    Program watch(inspectWords({"watch", "-c", channel, "--interval", "10ms", "--json"}));
    const auto told = [&](const std::string& what) {
        return TestSupport::waitUntil([&] { return watch.output().find(what) != std::string::npos; });
    };
    EXPECT_TRUE(told("waiting, "));
    std::optional<WatchedBus> bus(std::in_place, channel);
    EXPECT_TRUE(told("\"available, interfaces: 1")) << watch.output();
    const std::uint16_t stub = bus->add("Clock", ZunicHosting::InstanceType::stub);
    EXPECT_TRUE(told(R"("change":"added","kind":"interface")"));
    bus->mChannel.lock().connect(bus->mClock, stub);
    EXPECT_TRUE(told(R"("change":"added","kind":"link")"));
    TestSupport::ForkedChild child([] { return pause(); });
    bus->mChannel.lock().registerCommunicator(static_cast<std::uint32_t>(child.processId()));
    EXPECT_TRUE(told(R"("change":"added","kind":"process")"));
    child.send(SIGKILL);
    EXPECT_TRUE(told(R"("attribute":"living","before":"yes","now":"no")"));
    bus.reset();
    EXPECT_TRUE(told("\"gone, "));
    bus.emplace(channel);
    EXPECT_TRUE(told("\"available again, "));
    EXPECT_TRUE(told(R"("change":"removed","kind":"link")")) << "what has changed in the meantime";
    watch.send(SIGINT);
    const std::string output = watch.output();
    EXPECT_EQ(watch.wait(), eYes);
    const TestSupport::TemporaryDirectory directory;
    TestSupport::writeFile(directory / "lines", output);
    EXPECT_EQ(TestSupport::invalidity("bus_diff.schema.json", directory / "lines", "event"), "") << output;
    EXPECT_EQ(TestSupport::countIn(output, "\n"), 11U) << output;
}

TEST(WatchCommand, EndsWhenItIsTimeAndWhenNobodyReads)
{
    const WatchedBus bus(TestSupport::uniqueChannelName());
    const std::string& channel = bus.mChannel.name();
    const auto timed = inspect({"watch", "-c", channel, "--for", "100ms"});
    EXPECT_EQ(timed.status, eYes);
    EXPECT_THAT(timed.output, ContainsRegex("^[-0-9]+T[0-9:.]+Z \\+ channel .*: available, [^\n]*\n$"));
    const auto unread =
        runProgram({"/bin/bash", "-c", "\"$0\" watch -c \"$1\" | head -n 1 >/dev/null; exit ${PIPESTATUS[0]}",
                    INSPECT_BINARY, channel});
    EXPECT_EQ(unread.status, eYes) << "though nothing has happened that it could have failed to write";
    EXPECT_EQ(unread.errors, "");
    Program stopped(inspectWords({"watch", "-c", channel, "--interval", "1h"}));
    EXPECT_TRUE(TestSupport::waitUntil([&] { return !stopped.output().empty(); }));
    stopped.send(SIGTERM);
    EXPECT_EQ(stopped.wait(), eYes);
}

TEST(WatchCommand, PrintsTimesThatNeverGoBack)
{
    WatchedBus bus(TestSupport::uniqueChannelName());
    Program watch(inspectWords({"watch", "-c", bus.mChannel.name(), "--interval", "10ms"}),
                  {.environment = {{"LD_PRELOAD", BACKWARD_CLOCK}}});
    for (std::size_t lines = 1; lines < 4; ++lines) {
        ASSERT_TRUE(TestSupport::waitUntil([&] { return TestSupport::countIn(watch.output(), "\n") >= lines; }));
        bus.add("Another", ZunicHosting::InstanceType::stub);
    }
    std::istringstream output(watch.output());
    std::vector<std::string> times;
    for (std::string time, line; output >> time && std::getline(output, line);) {
        times.push_back(time);
    }
    EXPECT_THAT(times, testing::SizeIs(testing::Ge(3U)));
    EXPECT_TRUE(std::ranges::is_sorted(times)) << testing::PrintToString(times);
}

TEST(WatchCommand, WaitsForAFinding)
{
    WatchedBus bus(TestSupport::uniqueChannelName());
    bus.add("Teapot", ZunicHosting::InstanceType::stub); // Has no provider, which is another finding.
    const auto words = [&](const std::string& time) {
        return inspectWords(
            {"watch", "-c", bus.mChannel.name(), "--until", "dead-process", "--interval", "10ms", "--for", time});
    };
    const auto inVain = runProgram(words("100ms"));
    EXPECT_EQ(inVain.status, eTimeIsUp);
    EXPECT_THAT(inVain.errors, HasSubstr("timed out"));
    TestSupport::ForkedChild child([] { return pause(); });
    bus.mChannel.lock().registerCommunicator(static_cast<std::uint32_t>(child.processId()));
    std::vector<std::string> inJson = words("50s");
    inJson.emplace_back("--json");
    Program watch(inJson);
    EXPECT_TRUE(TestSupport::waitUntil([&] { return !watch.output().empty(); }));
    child.send(SIGKILL);
    EXPECT_EQ(watch.wait(), eYes);
    const TestSupport::TemporaryDirectory directory;
    TestSupport::writeFile(directory / "lines", watch.output());
    EXPECT_EQ(TestSupport::invalidity("bus_diff.schema.json", directory / "lines", "event"), "");
    EXPECT_THAT(watch.output(), HasSubstr(R"("kind":"finding","code":"dead-process")"));
}

TEST(WatchCommand, ComparesWithAnEarlierLookForAFindingThatShowsOverTime)
{
    WatchedBus bus(TestSupport::uniqueChannelName());
    bus.mChannel.lock().registerInterface({.interfaceName = "Late",
                                           .type = ZunicHosting::InstanceType::skeleton,
                                           .state = ZunicHosting::RegistrationState::preregistered,
                                           .communicatorId = 3});
    const auto found = runProgram(inspectWords(
        {"watch", "-c", bus.mChannel.name(), "--until", "stuck-required", "--interval", "50ms", "--for", "50s"}));
    EXPECT_EQ(found.status, eYes);
    EXPECT_THAT(found.output,
                ContainsRegex("\n[^ ]+ ! stuck-required interface 1 Late: preregistered in both looks\n$"));
}

} // namespace
