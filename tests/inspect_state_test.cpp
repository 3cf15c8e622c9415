#include "inspect/live/processes.h"
#include "inspect/live/take_state.h"
#include "inspect/saved/output_file.h"
#include "inspect/saved/state_json.h"
#include "support/json_schema.h"
#include "support/live_bus.h"
#include "support/stepped_child.h"
#include "support/text.h"

#include "zunic_hosting/hosted_channel.h"

#include <ctime>
#include <fstream>
#include <gmock/gmock.h>
#include <sstream>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/utsname.h>

using namespace Inspect;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

std::string written(const BusState& state)
{
    std::ostringstream text;
    writeState(text, state);
    return text.str();
}

BusState readBack(const std::string& text)
{
    std::istringstream in(text);
    return readState(in);
}

std::string complaintAbout(const std::string& text)
{
    try {
        readBack(text);
        return "none";
    } catch (const NoState& error) {
        return error.what();
    }
}

TEST(BusState, OfALiveBusIsSavedWholeForItsOwnerAlone)
{
    const TestSupport::LiveBus bus(SCENARIO_DIR "/small.json");
    const BusState state = takeState(bus.channelName(), Wanted::everything());
    ASSERT_EQ(state.mInterfaces.size(), 12U);
    EXPECT_THAT(state.mInterfaces[0].mReceivers, ElementsAre(5, 7, 11));
    EXPECT_THAT(state.mInterfaces[0].mFunctions, testing::Optional(ElementsAre("now", "setAlarm", "cancelAlarm")));
    const Process& living = state.mCommunicators.front().mProcess;
    EXPECT_TRUE(living.mApplication == "clockd" && living.mLiving == Living::eYes && living.mStartedAfterBoot);
    EXPECT_TRUE(state.mCommunicators.back().mProcess == (Process{{}, {}, Living::eNo}));
    ASSERT_EQ(state.mMessages.mSlots.size(), 14U);
    EXPECT_THAT(state.mMessages.mSlots[2].mChain.mEntries,
                ElementsAre(Channel::DataEntry{3, 3}, Channel::DataEntry{4, 3}, Channel::DataEntry{5, 3}));
    EXPECT_EQ(state.mMessages.mTotals[Channel::eSlotStateFree], state.mMessages.mSize - state.mMessages.mSlots.size());

    const TestSupport::TemporaryDirectory directory;
    const std::string file = directory / "state.json";
    const auto save = [&](const std::string& path) {
        writeOutputFile(path, cOwnerOnly, [&](std::ostream& out) { writeState(out, state); });
    };
    save(file);
    struct stat status = {};
    ASSERT_EQ(lstat(file.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode, S_IFREG | S_IRUSR | S_IWUSR);
    EXPECT_THAT(directory.entries(), ElementsAre("state.json"));
    EXPECT_TRUE(readBack(TestSupport::readFile(file)) == state);
    EXPECT_EQ(TestSupport::invalidity("bus_state.schema.json", file), "");
    EXPECT_THROW(save(directory / "missing/state.json"), NotSaved);
}

TEST(BusState, IsInTheOrderOfIdsAndLeavesNothingOut)
{
    using ZunicHosting::RegistrationState;
    auto channel = ZunicHosting::HostedChannel::create({.name = TestSupport::uniqueChannelName()});
    for (const std::uint16_t id : std::initializer_list<std::uint16_t>{7, 3, 5}) {
        channel.lock().registerInterface({.interfaceName = std::to_string(id), .id = id});
    }
    const std::pair<std::uint16_t, RegistrationState> communicators[] = {{9, RegistrationState::unregistered},
                                                                         {4, RegistrationState::preregistered},
                                                                         {8, RegistrationState::invalid},
                                                                         {2, RegistrationState::registered}};
    for (const auto& [id, state] : communicators) {
        channel.lock().registerCommunicator(4294967295U - id, id, state);
    }
    const BusState state = takeState(channel.name(), Wanted::everything());

    std::string told;
    for (const Interface& interface : state.mInterfaces) {
        told += std::to_string(interface.mId) + interface.mName + ' ';
    }
    for (const Communicator& one : state.mCommunicators) {
        EXPECT_TRUE(one.mProcess == (Process{{}, {}, Living::eNo})) << one.mProcessId;
        told += std::to_string(one.mId) + ':' + std::to_string(one.mState) + ' ';
    }
    EXPECT_EQ(told, "33 55 77 9:2 4:3 8:0 2:1 ");
    std::string bootId;
    std::ifstream("/proc/sys/kernel/random/boot_id") >> bootId;
    utsname names{};
    ASSERT_EQ(uname(&names), 0);
    EXPECT_TRUE(state.mChannel == channel.name() && state.mBootId == bootId && state.mHost == names.nodename);
}

TEST(Process, IsKnownByItsId)
{
    const auto sinceBoot = [] {
        timespec now{};
        clock_gettime(CLOCK_BOOTTIME, &now);
        return std::chrono::seconds(now.tv_sec) + std::chrono::milliseconds(now.tv_nsec / 1'000'000);
    };
    const TestSupport::Gate named;
    const auto before = sinceBoot();
    TestSupport::ForkedChild child([&] {
        prctl(PR_SET_NAME, "a) Z 1 (b");
        return named.open() ? pause() : 1;
    });
    ASSERT_TRUE(named.await());
    const Process process = lookUpProcess(static_cast<std::uint32_t>(child.processId()));
    EXPECT_EQ(process.mLiving, Living::eYes);
    ASSERT_TRUE(process.mStartedAfterBoot);
    EXPECT_GE(*process.mStartedAfterBoot, before - std::chrono::milliseconds(20)) << "a tick is 10 ms";
    EXPECT_LE(*process.mStartedAfterBoot, sinceBoot());
    for (const std::uint32_t nobody : {0U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
        EXPECT_TRUE(lookUpProcess(nobody) == (Process{{}, {}, Living::eNo})) << nobody;
    }
}

TEST(BusState, OfAProcessThatExitsDuringTheLookIsReadAllTheSame)
{
    std::set<int> results;
    bool isExitSeen = true;
    for (int stop = 0; isExitSeen; ++stop) {
        TestSupport::ForkedChild observed([] { return pause(); });
        const auto look = [&] {
            try {
                return static_cast<int>(lookUpProcess(static_cast<std::uint32_t>(observed.processId())).mLiving);
            } catch (const std::exception&) {
                return 100;
            }
        };
        const auto [isStopped, living] = TestSupport::actAtStop(stop, look, [&](TestSupport::ForkedChild&) {
            observed.end();
            observed.wait();
        });
        isExitSeen = isStopped;
        results.insert(living);
    }
    EXPECT_THAT(results, testing::UnorderedElementsAre(static_cast<int>(Living::eYes), static_cast<int>(Living::eNo)));
}

TEST(BusState, OfMemoryThatHoldsNonsenseIsTheSameAfterwards)
{
    BusState state;
    state.mChannel = std::string("a\0\x1b[2J\xFF", 7);
    state.mMutexHeld = std::chrono::hours(24);
    for (const std::uint32_t number : {0U, 3U, 4U, 4294967295U}) {
        state.mInterfaces.push_back({65535,
                                     "\xC3",
                                     "\xC3\xB6\"\n",
                                     "</script>",
                                     number,
                                     {65535, 0, 1},
                                     4096,
                                     number,
                                     {65535, 65535},
                                     {{"", "\x80"}},
                                     number > 3,
                                     {0, 1023, 65535}});
        state.mCommunicators.push_back(
            {65535, 4294967295, number, {"\xFE", std::chrono::hours(2000), Living::eUnknown}});
    }
    state.mMemoryManagers.push_back({UINT64_MAX, 0, 1, 2, UINT64_MAX});
    state.mMessages = {4294967295, 1, 4294967295, 65535, {4294967294, 0, 0, 1, 0}, {}};
    state.mMessages.mSlots.push_back({0,
                                      Channel::eSlotStateWritten,
                                      4095,
                                      1,
                                      2,
                                      {1},
                                      {{{7, 4095}}, Channel::ChainEnd::eLoop, 7},
                                      OxaZunic::OxaZunicRangeLocation(1, 2)});
    const std::string text = written(state);
    EXPECT_TRUE(readBack(text) == state);
    const TestSupport::TemporaryDirectory directory;
    TestSupport::writeFile(directory / "odd.json", text);
    EXPECT_EQ(TestSupport::invalidity("bus_state.schema.json", directory / "odd.json"), "");
}

TEST(BusState, MistakesAreToldInOneLineWithTheirPlace)
{
    BusState state;
    state.mInterfaces.resize(2);
    state.mInterfaces[1].mReceivers = {4, 7};
    const std::string whole = written(state);
    const auto with = [&](const std::string& old, const std::string& mistake) {
        std::string text = whole;
        return text.replace(text.rfind(old), old.size(), mistake);
    };
    const std::pair<std::string, std::string> cases[] = {
        {"", "line 1, column 1: not JSON: "},
        {whole.substr(0, whole.size() / 2), "not JSON: "},
        {"{\n \"schema\": \"zunic-bus-state/2\"}",
         "line 2, column 30: /schema: expected the schema \"zunic-bus-state/1\""},
        {with("[4,7]", "[4,70000]"),
         "line 10, column 193: /interfaces/1/receivers/1: expected a whole number from 0 to 65535"},
        {with("[4,7]", "[7,7]"), "/interfaces/1/receivers/1: expected ids in ascending order"},
        {with("[4,7]", "[4,1e999]"), "not JSON: number overflow"},
        {with("[4,7]", "[-4]"), "/interfaces/1/receivers/0: expected a whole number"},
        {with("\"id\":0", "\"id\":0.5"), "/interfaces/1/id: expected a whole number"},
        {with("\"invalid\"", "\"gone\""), "/interfaces/1/state: expected one of the values"},
        {with("\"taken_at\"", "\"taken\""), "expected a member \"taken_at\""},
        {std::string(1'000'000, '['), "line 1, column 33: nested deeper than 32 levels"},
    };
    for (const auto& [text, complaint] : cases) {
        const std::string told = complaintAbout(text);
        EXPECT_THAT(told, HasSubstr(complaint)) << text.substr(0, 300);
        EXPECT_EQ(told.find('\n'), std::string::npos);
    }
}

} // namespace
