#include "inspect/live/take_state.h"
#include "inspect/saved/state_json.h"
#include "support/churning_bus.h"
#include "support/healthy_bus.h"
#include "support/inspect.h"
#include "support/json_schema.h"
#include "support/live_bus.h"
#include "support/soak.h"

#include <gmock/gmock.h>

using namespace Inspect;
using namespace TestSupport;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

struct Case
{
    Edit mEdit;
    std::set<std::string> mInOneLook;
    std::set<std::string> mInTwoLooks; ///< both of them with the change
};

/// What one change to a healthy bus brings about; it is healthy without it.
const Case cCases[] = {
    {[](BusState&) {}, {}, {}},
    {[](BusState& s) { s.mCommunicators[0].mProcess.mLiving = Living::eNo; },
     {"error dead-process"},
     {"error dead-process"}},
    {[](BusState& s) { s.mCommunicators[0].mProcess = {}; }, {"note dead-process"}, {"note dead-process"}},
    {[](BusState& s) { s.mInterfaces[0].mCommunicatorId = 8; }, {"error orphan-interface"}, {"error orphan-interface"}},
    {[](BusState& s) { s.mInterfaces[0].mCommunicatorId = Channel::cNoCommunicator; }, {}, {}},
    {[](BusState& s) {
         s.mInterfaces[1].mReceivers = {1, 70};
     },
     {"error dangling-link"},
     {"error dangling-link"}},
    {[](BusState& s) { s.mInterfaces[1].mName = "Teapot"; }, {"warning no-provider"}, {"warning no-provider"}},
    {[](BusState& s) { s.mInterfaces[1].mDomain = "cloud"; }, {"warning no-provider"}, {"warning no-provider"}},
    {[](BusState& s) {
         s.mInterfaces[1].mName = "Colck";
         s.mInterfaces[0].mReceivers = {};
     },
     {"warning no-provider", "note near-miss"},
     {"warning no-provider", "note near-miss"}},
    {[](BusState& s) {
         s.mInterfaces[1].mName = "Cl0ckXX"; // Three edits.
         s.mInterfaces[0].mReceivers = {};
     },
     {"warning no-provider"},
     {"warning no-provider"}},
    {[](BusState& s) { s.mInterfaces[0].mReceivers = {}; }, {}, {"warning not-connected"}},
    {[](BusState& s) {
         s.mInterfaces[0].mReceivers = {};
         s.mInterfaces[1].mReceivers = {1}; // The other way round.
     },
     {},
     {}},
    {[](BusState& s) { s.mInterfaces[0].mState = oxa_zunic_registration_state_preregistered; },
     {},
     {"warning stuck-required"}},
    {[](BusState& s) { s.mInterfaces.push_back(interface(3, Oxa::eInterfaceInstanceTypeSkeleton)); },
     {"warning duplicate-provider"},
     {"warning duplicate-provider"}},
    {[](BusState& s) {
         s.mInterfaces[1].mVersion = {1, 2, 4};
     },
     {"warning version-skew"},
     {"warning version-skew"}},
    {[](BusState& s) {
         s.mInterfaces.push_back(interface(3, Oxa::eInterfaceInstanceTypeSkeleton));
         s.mInterfaces[2].mRole = "Spare";
         s.mInterfaces[2].mFunctions = {"later"};
     },
     {"warning function-skew"},
     {"warning function-skew"}},
    {[](BusState& s) { s.mMemoryManagers[0].mUsedBlocks = 40; }, {"warning pool-full"}, {"error pool-full"}},
    {[](BusState& s) { s.mMemoryManagers[0].mUsedBlocks = 37; }, {"warning pool-low"}, {"warning pool-low"}},
    {[](BusState& s) { s.mMemoryManagers[0].mUsedBlocks = 36; }, {}, {}},
    {[](BusState& s) { s.mMemoryManagers[1].mUsedBlocks = 21; }, {"error pool-accounting"}, {"error pool-accounting"}},
    {[](BusState& s) { s.mMemoryManagers[0].mTotalBlocks = 41; }, {"error pool-accounting"}, {"error pool-accounting"}},
    {[](BusState& s) { s.mMessages.mTotals[Channel::eSlotStateFree] = 3; },
     {"warning slots-low"},
     {"warning slots-low"}},
    {[](BusState& s) { s.mMessages.mTotals[Channel::eSlotStateFree] = 0; }, {"warning slots-low"}, {"error slots-low"}},
    {[](BusState& s) { slot(s).mState = Channel::eSlotStateReserved; }, {}, {"warning stuck-slot"}},
    {[](BusState& s) {
         slot(s).mState = Channel::eSlotStateWritten;
         slot(s).mSenderId = 3;
     },
     {},
     {"error stuck-slot"}},
    {[](BusState& s) {
         slot(s).mReceivers = {2, 70};
     },
     {},
     {"error undelivered"}},
    {[](BusState& s) { slot(s).mChain.mEnd = Channel::ChainEnd::eLoop; },
     {"error broken-chain"},
     {"error broken-chain"}},
    {[](BusState& s) {
         s.mMessages.mSlots.push_back(slot(s));
         s.mMessages.mSlots[1].mIndex = 5;
     },
     {"error broken-chain"},
     {"error broken-chain"}},
    {[](BusState& s) { s.mCommunicators.resize(922, s.mCommunicators[0]); },
     {"warning registry-full"},
     {"warning registry-full"}},
};

/// The numbers of a pool, and what is said of it in one look and in two.
struct PoolCase
{
    Channel::MemoryManagerFigures mPool; ///< size of a block, blocks at first, added by each enlargement, now, in use
    std::set<std::string> mInOneLook;
    std::set<std::string> mInTwoLooks;
};

const std::set<std::string> cLow{"warning pool-low"};
const std::set<std::string> cFullOnce{"warning pool-full"};
const std::set<std::string> cFull{"error pool-full"};
const std::set<std::string> cWrong{"error pool-accounting"};

const PoolCase cPools[] = {
    {{64, 0, 0, 0, 0}, {}, {}},
    {{64, 1, 0, 1, 0}, {}, {}},
    {{64, 1, 0, 1, 1}, cFullOnce, cFull},
    {{64, 10, 0, 10, 9}, {}, {}},
    {{64, 10, 0, 10, 10}, cFullOnce, cFull},
    {{64, 11, 0, 11, 9}, {}, {}},
    {{64, 11, 0, 11, 10}, cLow, cLow},
    {{64, 40, 0, 40, 36}, {}, {}},
    {{64, 40, 0, 40, 37}, cLow, cLow},
    {{64, 41, 0, 41, 36}, {}, {}},
    {{64, 41, 0, 41, 37}, cLow, cLow},
    {{64, 40, 0, 40, 39}, cLow, cLow},
    {{64, 40, 1, 40, 39}, {}, {}},
    {{64, 40, 1, 40, 40}, {}, {}},
    {{64, 40, 1, 40, 41}, cWrong, cWrong},
    {{64, 40, 1, 41, 4}, {}, {}},
    {{64, 40, 1, 39, 4}, cWrong, cWrong},
    {{64, 40, 0, 41, 4}, cWrong, cWrong},
    {{64, 40, 0, 39, 4}, cWrong, cWrong},
};

TEST(Check, APoolIsJudgedOnBothSidesOfEachLimit)
{
    for (const PoolCase& tried : cPools) {
        const BusState state = healthyBut([&](BusState& s) { s.mMemoryManagers = {tried.mPool}; });
        const auto& [block, initial, additional, total, used] = tried.mPool;
        const std::string name = testing::PrintToString(std::vector{initial, additional, total, used});
        EXPECT_EQ(told(state), tried.mInOneLook) << name;
        EXPECT_EQ(told(state, &state), tried.mInTwoLooks) << name;
    }
}

TEST(Check, SlotsAndRegistryAreJudgedOnBothSidesOfEachLimit)
{
    const std::tuple<std::uint32_t, std::uint32_t, std::set<std::string>> slots[] = {
        {0, 0, {}},
        {40, 4, {}},
        {40, 3, {"warning slots-low"}},
        {41, 5, {}},
        {41, 4, {"warning slots-low"}},
        {1, 0, {"error slots-low"}},
        {4'294'967'295, 429'496'730, {}},
        {4'294'967'295, 429'496'729, {"warning slots-low"}},
    };
    for (const auto& row : slots) { // clang 14 does not capture structured bindings.
        const auto size = std::get<0>(row);
        const auto free = std::get<1>(row);
        const BusState state = healthyBut([&](BusState& s) {
            s.mMessages.mSize = size;
            s.mMessages.mTotals[Channel::eSlotStateFree] = free;
        });
        EXPECT_EQ(told(state, &state), std::get<2>(row)) << free << " of " << size;
    }
    for (const std::size_t entries : {921U, 922U}) {
        const auto expected = entries == 921 ? std::set<std::string>() : std::set<std::string>{"warning registry-full"};
        EXPECT_EQ(told(healthyBut([&](BusState& s) { s.mCommunicators.resize(entries, s.mCommunicators[0]); })),
                  expected);
        EXPECT_EQ(told(healthyBut([&](BusState& s) { s.mInterfaces.resize(entries, interface(5, 77)); })), expected);
    }
}

TEST(Check, NamesAreNearUpToTwoEditsAndLessIfTheyAreShort)
{
    const std::tuple<std::string, std::string, bool> pairs[] = {
        {"Clock", "Clock", true},
        {"Clock", "Colck", true},
        {"Clock", "Cl", false},
        {"Clock", "Clo", true},
        {"Clock", "Clockxx", true},
        {"Clock", "xClockxx", false},
        {"Cloc", "Clox", true},
        {"Cloc", "Clxx", false},
        {"Clo", "Cl", true},
        {"Clo", "Cxx", false},
        {"Cl", "Cl", true},
        {"Cl", "Cx", false},
        {"", "", true},
        {"", "C", false},
        {"Navigation", "xNavgation", true},
        {"Navigation", "Navigatoin", true},
        {"Navigation", "Navgatoin", false},
    };
    for (const auto& row : pairs) {
        const auto& skeleton = std::get<0>(row);
        const auto& stub = std::get<1>(row);
        const BusState state = healthyBut([&](BusState& s) {
            s.mInterfaces[0].mReceivers = {};
            s.mInterfaces[0].mName = skeleton;
            s.mInterfaces[1].mName = stub;
            s.mInterfaces[1].mDomain = "elsewhere";
        });
        EXPECT_EQ(told(state).contains("note near-miss"), std::get<2>(row)) << skeleton << ' ' << stub;
        const BusState used = healthyBut([&](BusState& s) {
            s.mInterfaces = state.mInterfaces;
            s.mInterfaces[0].mReceivers = {2};
        });
        EXPECT_FALSE(told(used).contains("note near-miss")) << skeleton;
    }
}

/// What looks alike, but is sound, in one look and in two.
const Edit cSound[] = {
    [](BusState& s) { // Another role, another domain, not registered.
        for (const char* const role : {"Spare", "Provider", "Provider"}) {
            s.mInterfaces.push_back(
                interface(static_cast<std::uint16_t>(s.mInterfaces.size() + 1), Oxa::eInterfaceInstanceTypeSkeleton));
            s.mInterfaces.back().mRole = role;
        }
        s.mInterfaces[3].mDomain = "cloud";
        s.mInterfaces[4].mState = oxa_zunic_registration_state_unregistered;
    },
    [](BusState& s) { // Other functions of another version, and unknown ones of the same.
        s.mInterfaces.push_back(interface(3, Oxa::eInterfaceInstanceTypeSkeleton));
        s.mInterfaces.push_back(interface(4, Oxa::eInterfaceInstanceTypeSkeleton));
        s.mInterfaces[2].mRole = "Spare";
        s.mInterfaces[2].mFunctions = {"later"};
        s.mInterfaces[2].mVersion = {1, 2, 4};
        s.mInterfaces[3].mRole = "Other";
        s.mInterfaces[3].mFunctions.reset();
    },
    [](BusState& s) { slot(s).mChain.mEnd = Channel::ChainEnd::eCut; },
    [](BusState& s) { slot(s).mReceivers = {}; },
    [](BusState& s) {
        slot(s).mChain.mEntries.push_back({1, 1});
    }, // Twice in its own chain: its end is judged.
    [](BusState& s) {
        s.mInterfaces[0].mReceivers = {1, 2};
    },
};

TEST(Check, WhatLooksAlikeIsNotTold)
{
    for (const Edit& edit : cSound) {
        const BusState state = healthyBut(edit);
        EXPECT_THAT(told(state), IsEmpty()) << &edit - cSound;
        EXPECT_THAT(told(state, &state), IsEmpty()) << &edit - cSound;
    }
}

TEST(Check, ASkeletonAndItsUserDifferByAnyNumberOfTheVersionOnEitherSide)
{
    for (const Oxa::Version& version : {Oxa::Version{2, 2, 3}, Oxa::Version{1, 1, 3}, Oxa::Version{1, 2, 2}}) {
        BusState state = healthyBut([&](BusState& s) { s.mInterfaces[1].mVersion = version; });
        EXPECT_EQ(told(state), std::set<std::string>{"warning version-skew"});
        std::swap(state.mInterfaces[0].mReceivers, state.mInterfaces[1].mReceivers);
        state.mInterfaces[1].mReceivers = {1}; // The stub holds the link.
        EXPECT_EQ(told(state), std::set<std::string>{"warning version-skew"});
    }
}

TEST(Check, EachFindingAppearsWithItsCauseAndGoesWithIt)
{
    std::set<std::string> seen;
    for (const Case& tried : cCases) {
        const BusState sound = healthy();
        BusState sick = healthy();
        tried.mEdit(sick);
        const std::string name = testing::PrintToString(tried.mInTwoLooks);
        EXPECT_EQ(told(sick), tried.mInOneLook) << name;
        EXPECT_EQ(told(sick, &sick), tried.mInTwoLooks) << name;
        EXPECT_THAT(told(sound, &sick), IsEmpty()) << name; // Mended meanwhile.
        for (const std::string& finding : tried.mInTwoLooks) {
            seen.insert(finding.substr(finding.find(' ') + 1));
        }
    }
    for (const FindingKind* const kind : findingKinds()) {
        EXPECT_TRUE(seen.contains(kind->mCode)) << kind->mCode;
    }
}

std::set<std::string> toldOf(const std::string& channel)
{
    const BusState before = takeState(channel, Wanted::everything());
    return told(takeState(channel, Wanted::everything()), &before);
}

TEST(Check, FindsOnRealBusesWhatIsThere)
{
    const std::pair<const char*, std::set<std::string>> buses[] = {
        {"healthy.json", {}},
        {"small.json",
         {"error dead-process", "error undelivered", "error broken-chain", "warning stuck-required",
          "warning stuck-slot"}},
        {"full.json", {"error broken-chain", "warning stuck-slot", "warning slots-low", "warning registry-full"}},
        {"sick.json",
         {"error dead-process", "warning no-provider", "warning not-connected", "warning stuck-required",
          "warning duplicate-provider", "warning version-skew", "warning function-skew", "note near-miss",
          "error pool-full", "warning pool-low", "warning slots-low", "warning stuck-slot", "error stuck-slot",
          "error undelivered", "error broken-chain"}},
    };
    for (const auto& [scenario, expected] : buses) {
        const TestSupport::LiveBus bus(std::string(SCENARIO_DIR "/") + scenario);
        EXPECT_EQ(toldOf(bus.channelName()), expected) << scenario;
    }
}

TEST(Check, InventsNothingOnABusThatChurns)
{
    TestSupport::ChurningBus bus(2);
    const int looks = TestSupport::rounds(50, 1000);
    for (int i = 0; i < looks; ++i) {
        EXPECT_THAT(toldOf(bus.name()), IsEmpty());
    }
    EXPECT_TRUE(bus.goesOn());
    TestSupport::figures() << looks << " looks, each with a second one\n";
}

TestSupport::ProgramResult check(std::vector<std::string> words)
{
    words.insert(words.begin(), "check");
    return TestSupport::inspect(words);
}

TEST(Check, AnswersByStatusTableAndJson)
{
    const TestSupport::TemporaryDirectory directory;
    const auto save = [&](const BusState& state, const std::string& name) {
        std::ostringstream text;
        writeState(text, state);
        TestSupport::writeFile(directory / name, text.str());
        return directory / name;
    };
    BusState sick = healthy();
    sick.mInterfaces[0].mState = oxa_zunic_registration_state_preregistered;
    sick.mInterfaces[0].mName = sick.mInterfaces[1].mName = "Evil\n\x1b[2J";
    sick.mMessages.mTotals[Channel::eSlotStateFree] = 0;
    const std::string file = save(sick, "sick.json");

    EXPECT_EQ(check({"--from", file}).status, 0); // A warning in one look.
    const auto twice = check({"--from", file, "--from", file});
    EXPECT_EQ(twice.status, 1);
    EXPECT_THAT(twice.output, testing::ContainsRegex("error +slots-low .*\nwarning +stuck-required .*Evil.x0a.x1b"));
    EXPECT_EQ(check({"--from", file, "--fail-on", "warning"}).status, 1);
    const auto ignored = check({"--from", file, "--fail-on", "note", "--ignore", "slots-low"});
    EXPECT_EQ(ignored.status, 0);
    EXPECT_EQ(ignored.errors, "zunic_inspect: no findings\n");
    EXPECT_EQ(check({"--from", file, "--ignore", "sltos-low"}).status, 2);
    EXPECT_EQ(check({"--from", file, "--from", file, "--from", file}).status, 2);
    EXPECT_EQ(check({"--from", directory / "none"}).status, 5);
    for (const FindingKind* const kind : findingKinds()) {
        EXPECT_THAT(check({"--explain", kind->mCode}).output, HasSubstr(kind->mDefinition));
    }

    TestSupport::writeFile(directory / "told.json", check({"--from", file, "--from", file, "--json"}).output);
    EXPECT_EQ(TestSupport::invalidity("bus_check.schema.json", directory / "told.json"), "");
    EXPECT_THAT(TestSupport::readFile(directory / "told.json"), HasSubstr(R"("Evil\n\u001b[2J")"));
}

TEST(Check, PrintsAHundredFindingsOfEachCodeUnlessAllIsAskedFor)
{
    const TestSupport::TemporaryDirectory directory;
    BusState sick = healthy();
    for (std::uint16_t id = 100; id < 223; ++id) {
        sick.mInterfaces.push_back(interface(id, Oxa::eInterfaceInstanceTypeUndefined));
        sick.mInterfaces.back().mCommunicatorId = 8;
    }
    std::ostringstream text;
    writeState(text, sick);
    TestSupport::writeFile(directory / "sick.json", text.str());
    const auto linesOf = [&](std::vector<std::string> words, const std::string& errors) {
        words.insert(words.begin(), {"--from", directory / "sick.json", "--noheadings"});
        const auto result = check(words);
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(result.errors, errors);
        return std::ranges::count(result.output, '\n');
    };
    EXPECT_EQ(linesOf({}, "zunic_inspect: and 23 more of orphan-interface (--all prints them)\n"), 100);
    EXPECT_EQ(linesOf({"--all"}, ""), 123);
    EXPECT_EQ(linesOf({"--json"}, ""), linesOf({"--all", "--json"}, ""));
}

} // namespace
