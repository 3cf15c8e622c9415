#include "inspect/commands/traffic/sampling.h"
#include "support/inspect.h"
#include "support/json_schema.h"
#include "support/live_bus.h"

#include "zunic_hosting/hosted_channel.h"

#include <fstream>
#include <gmock/gmock.h>
#include <nlohmann/json.hpp>
#include <numeric>
#include <sstream>

using namespace Inspect;
using namespace std::chrono_literals;
using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;
using TestSupport::inspect;
using ZunicHosting::HostedChannel;
using ZunicHosting::LockedRegistry;
using enum TestSupport::InspectStatus;

namespace {

NewMessage message(std::uint32_t slot, std::uint16_t sender, std::uint16_t counter,
                   const std::vector<std::uint16_t>& receivers = {}, std::uint32_t size = 10)
{
    NewMessage made{slot, sender, counter, size, {}};
    for (const std::uint16_t id : receivers) {
        made.mReceivers.words[id / 64] |= std::uint64_t{1} << (id % 64);
    }
    return made;
}

/// Adds samples that are a millisecond apart, unless they are said to be at another time.
class Samples
{
public:
    explicit Samples(bool arePairsWanted = false) : mTally(arePairsWanted) {}

    Samples& add(std::uint16_t counter, const std::vector<NewMessage>& came = {},
                 const std::vector<std::uint32_t>& left = {}, std::uint32_t inUse = 0)
    {
        mTally.add({mTime, mTime, mCounter.value_or(counter), counter, 64, inUse, left, came});
        mCounter = counter;
        mTime += 1ms;
        return *this;
    }

    Samples& pause(std::chrono::milliseconds time)
    {
        mTime += time - 1ms;
        return *this;
    }

    Tally& tally() { return mTally; }

    const Figures& sender(std::uint16_t id) const { return mTally.senders().at({id, Route::cAny}); }
    const Figures& receiver(std::uint16_t id) const { return mTally.receivers().at({Route::cAny, id}); }

private:
    Tally mTally;
    Sample::Time mTime{1h};
    std::optional<std::uint16_t> mCounter;
};

TEST(TimeHistogram, QuantilesAreRightToTheirPrecision)
{
    TimeHistogram times;
    EXPECT_EQ(times.quantile(0.5), 0us);
    for (int i = 1; i <= 1000; ++i) {
        times.add(std::chrono::microseconds(i * i));
    }
    for (const int permille : {1, 50, 500, 900, 990, 1000}) {
        const double exact = permille * permille;
        EXPECT_NEAR(static_cast<double>(times.quantile(permille / 1000.0).count()), exact, exact / 60) << permille;
    }
    times.add(100h); // Beyond the last class.
    EXPECT_EQ(times.longest(), 100h);
    EXPECT_GT(times.quantile(1), 9h);
}

TEST(Tally, CountsWhatCameBetweenTheFirstSampleAndTheLast)
{
    Samples samples;
    samples.add(65'534, {message(0, 1, 65'534), message(1, 2, 65'530)}, {}, 2);
    samples.add(1, {message(2, 1, 65'535, {5, 70}), message(3, 1, 0, {5}), message(4, 2, 1, {5}, 1'000)}, {0}, 4);
    samples.add(3, {message(3, 2, 2, {5})}, {3}, 4); // The one with the number 3 was not seen.
    samples.add(3, {}, {2}, 3);
    const Tally& tally = samples.tally();
    EXPECT_EQ(tally.counted(), 5U);
    EXPECT_EQ(tally.seen(), 4U);
    EXPECT_EQ(tally.medianInUse(), 3U);
    EXPECT_EQ(tally.mostInUse(), 4U);
    EXPECT_NEAR(static_cast<double>(tally.interval().count()), 1'000, 16);

    const Figures& first = samples.sender(1);
    EXPECT_EQ(first.mMessages, 2U);
    EXPECT_EQ(first.mUserDataSize, 20U);
    EXPECT_EQ(first.mOthers.count(), 2U);
    EXPECT_EQ(first.mStill, 0U);
    EXPECT_EQ(first.mStays.count(), 2U); // Not the one that had been there before.
    EXPECT_NEAR(static_cast<double>(first.mStays.quantile(0.5).count()), 1'000, 16);
    EXPECT_EQ(first.mStays.longest(), 2ms);

    const Figures& second = samples.sender(2);
    EXPECT_EQ(second.mMessages, 2U);
    EXPECT_EQ(second.mStill, 3U); // The one that had been there before is still there, too.
    EXPECT_EQ(second.mStays.count(), 0U);

    EXPECT_EQ(samples.receiver(5).mMessages, 4U);
    EXPECT_EQ(samples.receiver(5).mOthers.count(), 2U);
    EXPECT_EQ(samples.receiver(70).mMessages, 1U);
    EXPECT_THAT(tally.pairs(), IsEmpty());
}

TEST(Tally, MessagePostedBehindTheBackOfTheFirstPassIsNoNewOne)
{
    Samples samples;
    samples.add(10).add(12, {message(0, 1, 10), message(1, 1, 11), message(2, 1, 12)});
    EXPECT_EQ(samples.tally().counted(), 2U);
    EXPECT_EQ(samples.tally().seen(), 2U);
    EXPECT_EQ(samples.sender(1).mStill, 3U);
    // And one that was seen before the counter was moved on was sent all the same.
    samples.add(12, {message(3, 1, 13)});
    EXPECT_EQ(samples.tally().counted(), 3U);
}

TEST(Tally, SameNumberInTheSameSlotIsAnotherMessageWhenTheSlotWasFreeBetween)
{
    Samples samples;
    samples.add(6).add(7, {message(0, 1, 7)}).add(8, {}, {0});
    for (std::uint16_t counter = 8; counter != 6;) { // Once around, in steps that are counted for certain.
        counter = static_cast<std::uint16_t>(counter + 2);
        samples.add(counter);
    }
    samples.add(7, {message(0, 1, 7)});
    EXPECT_EQ(samples.tally().counted(), 65'537U);
    EXPECT_EQ(samples.sender(1).mMessages, 2U);
    EXPECT_EQ(samples.sender(1).mStays.count(), 1U);
}

TEST(Tally, NumberOfMessagesIsUnknownWhenTheCounterCannotTell)
{
    Samples tooLong;
    tooLong.add(1).pause(1'400ms).add(2, {message(0, 1, 2)});
    EXPECT_EQ(tooLong.tally().counted(), std::nullopt);
    EXPECT_EQ(tooLong.tally().seen(), 1U);

    Samples longEnough;
    longEnough.add(1).pause(1'200ms).add(2, {message(0, 1, 2)});
    EXPECT_EQ(longEnough.tally().counted(), 1U);

    Samples halfTheRange;
    halfTheRange.add(1).add(32'770);
    EXPECT_EQ(halfTheRange.tally().counted(), std::nullopt);

    for (const std::uint16_t counter :
         std::vector<std::uint16_t>{20'000, 935, 1'067}) { // Each sender counts by itself.
        Samples ofTheirOwn;
        ofTheirOwn.add(1'000).add(1'002, {message(0, 1, counter)});
        EXPECT_EQ(ofTheirOwn.tally().counted(), std::nullopt) << counter;
        EXPECT_STREQ(ofTheirOwn.tally().doubt(), "messages are not numbered by the message counter");
    }

    Samples notCounting;
    notCounting.add(1'000);
    for (std::uint32_t slot = 0; slot < 100; ++slot) {
        notCounting.add(1'000, {message(slot, 1, 1'001)});
    }
    EXPECT_EQ(notCounting.tally().counted(), std::nullopt);
    EXPECT_EQ(notCounting.tally().seen(), 100U);

    Samples hostedAgain;
    hostedAgain.add(10, {message(0, 1, 10)});
    hostedAgain.tally().startOver();
    hostedAgain.add(60'000, {message(0, 2, 60'000)}).add(60'001, {message(1, 2, 60'001)});
    EXPECT_EQ(hostedAgain.tally().counted(), std::nullopt);
    EXPECT_EQ(hostedAgain.tally().seen(), 1U);
    EXPECT_EQ(hostedAgain.sender(1).mStill, 0U);
    EXPECT_EQ(hostedAgain.sender(2).mStill, 2U);
}

TEST(Tally, LimitsThePairsAndCountsWhatItLeavesOut)
{
    Samples samples(true);
    samples.add(0);
    std::vector<std::uint16_t> all(1'024);
    std::iota(all.begin(), all.end(), std::uint16_t{0});
    for (std::uint16_t sender = 1; sender <= 10; ++sender) {
        samples.add(sender, {message(sender, sender, sender, all)});
    }
    EXPECT_THAT(samples.tally().pairs(), SizeIs(8'192));
    EXPECT_EQ(samples.tally().otherPairs().mMessages, 10U * 1'024 - 8'192);
    EXPECT_THAT(samples.tally().senders(), SizeIs(10));
    EXPECT_THAT(samples.tally().receivers(), SizeIs(1'024));
}

TEST(Pace, TakesATenthOfACoreAtMost)
{
    Pace pace(1ms);
    EXPECT_EQ(pace.interval(), 1ms);
    pace.note(50us);
    EXPECT_EQ(pace.interval(), 1ms);
    for (int i = 0; i < 100; ++i) {
        pace.note(3ms);
    }
    EXPECT_GT(pace.interval(), 29ms);
    EXPECT_LE(pace.interval(), 30ms);
}

/// Traffic with an answer for each column.
Traffic someTraffic()
{
    BusState state;
    for (const auto& [id, name] : {std::pair(1, "Clock"), std::pair(5, "a\x1b"), std::pair(6, "Audio")}) {
        Interface& interface = state.mInterfaces.emplace_back();
        interface.mId = static_cast<std::uint16_t>(id);
        interface.mName = name;
        interface.mCommunicatorId = id == 1 ? 7 : Channel::cNoCommunicator;
    }
    state.mCommunicators = {{7, 512, 1, {"clockd", {}, Living::eYes}}};
    Samples samples(true);
    samples.add(0, {}, {}, 1);
    std::uint16_t counter = 0;
    for (int round = 0; round < 100; ++round) { // Each message stays for 12 ms, or for less than two.
        ++counter;
        samples.add(counter, {message(0, 1, counter, {5, 6}, 640)}, {}, 31);
        ++counter;
        samples.add(counter, {message(1, 300, counter, {6})}, {}, 2).add(counter, {}, {1}, 2);
        samples.pause(10ms).add(counter, {}, {0}, 1);
    }
    counter += 2; // One of them is not seen.
    samples.add(counter, {message(2, 300, counter, {9})}, {}, 2);
    Traffic traffic{"OXABus", "host", WallTime(1'795'431'281'323ms), {}, samples.tally()};
    traffic.mParties.add(state);
    return traffic;
}

std::string textOf(const Traffic& traffic, By by, const InterfaceFilter& filter = {})
{
    std::ostringstream text;
    writeTrafficText(text, traffic, by, filter, {});
    return text.str();
}

TEST(TrafficText, ShowsEachKindOfRow)
{
    constexpr auto cSummary =
        "202 messages counted, 201 seen (99.5 %), 155.3/s; slots in use: median 2, maximum 31 of 64; "
        "interval 1.0 ms\n";
    EXPECT_EQ(textOf(someTraffic(), By::eSender),
              std::string("SENDER NAME  PID APP    MSG/S   B/S TO STAYS  P99  MAX STILL\n"
                          "   300 -       - -       77.6   776  2  <1ms <1ms <1ms     1\n"
                          "     1 Clock 512 clockd  76.9 49.2k  2  12ms 12ms 12ms     0\n") +
                  cSummary);
    EXPECT_EQ(textOf(someTraffic(), By::eReceiver),
              std::string("ADDRESSED TO NAME  PID APP MSG/S   B/S FROM STAYS  P99  MAX STILL\n"
                          "           6 Audio   - -   153.7 50.0k    2  <1ms 12ms 12ms     0\n"
                          "           5 a\\x1b   - -    76.9 49.2k    1  12ms 12ms 12ms     0\n"
                          "           9 -       - -     0.8     8    1     -    -    -     1\n") +
                  cSummary);
    EXPECT_EQ(textOf(someTraffic(), By::ePair),
              std::string("SENDER NAME  ADDRESSED TO NAME  MSG/S   B/S STAYS  P99  MAX STILL\n"
                          "     1 Clock            5 a\\x1b  76.9 49.2k  12ms 12ms 12ms     0\n"
                          "     1 Clock            6 Audio  76.9 49.2k  12ms 12ms 12ms     0\n"
                          "   300 -                6 Audio  76.9   769  <1ms <1ms <1ms     0\n"
                          "   300 -                9 -       0.8     8     -    -    -     1\n") +
                  cSummary);
}

TEST(TrafficText, FiltersChooseRowsByTheSenderOrTheReceiver)
{
    InterfaceFilter byName;
    byName.mName = "Cl*";
    InterfaceFilter byApplication;
    byApplication.mOwner.mApplication = "clockd";
    for (const InterfaceFilter& filter : {byName, byApplication}) {
        EXPECT_THAT(trafficRows(someTraffic(), By::eSender, filter), SizeIs(1));
        EXPECT_THAT(trafficRows(someTraffic(), By::ePair, filter), SizeIs(2));
        EXPECT_THAT(trafficRows(someTraffic(), By::eReceiver, filter), IsEmpty());
    }
    byName.mName = "Audio";
    EXPECT_THAT(trafficRows(someTraffic(), By::eReceiver, byName), SizeIs(1));
    EXPECT_THAT(trafficRows(someTraffic(), By::eReceiver, {}), SizeIs(3));
    EXPECT_THAT(textOf(someTraffic(), By::eSender, byName), StartsWith("202 messages counted, 201 seen"));
}

TEST(TrafficJson, IsAsDocumented)
{
    const TestSupport::TemporaryDirectory directory;
    Traffic uncounted = someTraffic();
    uncounted.mTally.startOver();
    for (const Traffic& traffic : {someTraffic(), uncounted, Traffic{"", "", {}, {}, Tally(true)}}) {
        std::ostringstream text;
        writeTrafficJson(text, traffic, {});
        TestSupport::writeFile(directory / "traffic.json", text.str());
        EXPECT_EQ(TestSupport::invalidity("bus_traffic.schema.json", directory / "traffic.json"), "");
    }
    std::ostringstream text;
    writeTrafficJson(text, someTraffic(), {});
    const auto json = nlohmann::json::parse(text.str());
    EXPECT_EQ(json["messages_counted"], 202);
    EXPECT_EQ(json["messages_seen"], 201);
    EXPECT_EQ(json["longest_interval_us"], 10'000);
    EXPECT_EQ(json["senders"][0]["messages"], 101);
    EXPECT_EQ(json["senders"][0]["name"], nullptr);
    EXPECT_EQ(json["senders"][1]["application"], "clockd");
    EXPECT_EQ(json["senders"][1]["bytes"], 64'000);
    EXPECT_EQ(json["receivers"][0]["senders"], 2);
    EXPECT_EQ(json["pairs"][0]["receiver"]["name"], "a\x1b");
    EXPECT_EQ(json["pairs"][2]["stays_us"]["max"], 1'000);
}

TEST(TrafficCommand, MeasuresALiveChannel)
{
    const std::string name = TestSupport::uniqueChannelName();
    EXPECT_EQ(inspect({"traffic", "-c", name}).status, eNoChannel);
    HostedChannel channel = HostedChannel::create({.name = name, .messageSlots = 8});
    const auto own = channel.lock().registerCommunicator(static_cast<std::uint32_t>(getpid()));
    channel.lock().registerInterface({.interfaceName = "Clock", .communicatorId = own, .id = 3});
    channel.lock().postMessage({.senderId = 3, .receivers = {4}}, 0);

    TestSupport::Program sampling(TestSupport::inspectWords({"traffic", "-c", name, "--for", "none"}));
    // While it samples, the mutex is free, and what it has not counted yet comes now or a little later.
    const auto isSampling = [&] {
        for (int i = 0; i < 20; ++i) {
            LockedRegistry registry = channel.lock();
            registry.releaseMessage(registry.postMessage({.senderId = 3, .receivers = {4}}, 0));
        }
        std::ifstream status("/proc/" + std::to_string(sampling.processId()) + "/status");
        const std::string text{std::istreambuf_iterator<char>(status), {}};
        return text.find("SigBlk:\t0000000000004002") != std::string::npos;
    };
    ASSERT_TRUE(TestSupport::waitUntil(isSampling));
    channel.lock().postMessage({.senderId = 3, .receivers = {5}}, 0);
    sampling.send(SIGTERM);
    EXPECT_EQ(sampling.wait(), eYes);
    EXPECT_THAT(sampling.output(), AllOf(HasSubstr(" 3 Clock"), HasSubstr("inspect_traffi"), HasSubstr(" of 8; ")));

    for (const std::vector<std::string>& mistake : std::vector<std::vector<std::string>>{{"--from", "x"},
                                                                                         {"--for", "0"},
                                                                                         {"--interval", "0"},
                                                                                         {"--interval", "none"},
                                                                                         {"--by", "name"},
                                                                                         {"--by", "pair", "--json"},
                                                                                         {"more"}}) {
        std::vector<std::string> words{"traffic", "-c", name};
        words.insert(words.end(), mistake.begin(), mistake.end());
        EXPECT_EQ(inspect(words).status, eFailed) << testing::PrintToString(mistake);
    }
    EXPECT_THAT(inspect({"traffic", "--from", "x"}).errors, HasSubstr("a saved state has no traffic"));
}

} // namespace
