#include "inspect/findings/contract/compare_contract.h"
#include "inspect/findings/contract/write_contract.h"
#include "inspect/findings/findings.h"
#include "inspect/live/take_state.h"
#include "inspect/saved/state_json.h"
#include "support/churning_bus.h"
#include "support/inspect.h"
#include "support/json_schema.h"
#include "support/live_bus.h"
#include "support/soak.h"

#include <functional>
#include <gmock/gmock.h>
#include <map>
#include <set>

using namespace Inspect;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

Interface interface(std::uint16_t id, std::uint32_t type)
{
    Interface made;
    made.mId = id;
    made.mName = "Clock";
    made.mRole = type == Oxa::eInterfaceInstanceTypeStub ? "User" : "Provider";
    made.mDomain = "local";
    made.mType = type;
    made.mVersion = {1, 2, 3};
    made.mCommunicatorId = 7;
    made.mState = oxa_zunic_registration_state_registered;
    made.mFunctions = {"now"};
    return made;
}

/// A bus in perfect health: a provider, a user, a message, a pool that cannot grow and one that can.
BusState healthy()
{
    BusState state;
    state.mInterfaces = {interface(1, Oxa::eInterfaceInstanceTypeSkeleton),
                         interface(2, Oxa::eInterfaceInstanceTypeStub)};
    state.mInterfaces[0].mReceivers = {2};
    state.mCommunicators = {{7, 100, 1, {"clockd", std::chrono::seconds(5), Living::eYes}}};
    state.mMemoryManagers = {{64, 40, 0, 40, 4}, {64, 8, 8, 20, 20}};
    state.mMessages.mSize = 40;
    state.mMessages.mTotals[Channel::eSlotStateFree] = 20;
    state.mMessages.mSlots = {{.mIndex = 0,
                               .mState = Channel::eSlotStateMessage,
                               .mSenderId = 1,
                               .mWriterCounter = 9,
                               .mUserDataSize = 8,
                               .mReceivers = {2},
                               .mChain = {{{1, 1}}, Channel::ChainEnd::eWhole, 0},
                               .mExternal = {}}};
    return state;
}

/// "error dead-process" and the like, each once.
std::set<std::string> told(const BusState& now, const BusState* before = nullptr)
{
    const std::map<Severity, std::string> words{
        {Severity::eError, "error "}, {Severity::eWarning, "warning "}, {Severity::eNote, "note "}};
    std::set<std::string> all;
    const BusIndex indexBefore(before != nullptr ? *before : now);
    for (const Finding& finding : findAll(BusIndex(now), before != nullptr ? &indexBefore : nullptr)) {
        const FindingKind& kind = *finding.mKind;
        all.insert(words.at(finding.mSeverity) + kind.mCode);
        EXPECT_FALSE(finding.mEvidence.empty() || std::string(kind.mAdvice).empty()) << kind.mCode;
    }
    return all;
}

using Change = std::function<void(BusState&)>;

struct Case
{
    Change mChange;
    std::set<std::string> mInOneLook;
    std::set<std::string> mInTwoLooks; ///< both of them with the change
};

Slot& slot(BusState& state)
{
    return state.mMessages.mSlots[0];
}

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

TEST(Check, EachFindingAppearsWithItsCauseAndGoesWithIt)
{
    std::set<std::string> seen;
    for (const Case& tried : cCases) {
        const BusState sound = healthy();
        BusState sick = healthy();
        tried.mChange(sick);
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

TEST(Check, WhatMayPassIsToldOnlyWhenItStays)
{
    const BusState sound = healthy();
    for (const Change& change : std::initializer_list<Change>{
             [](BusState& s) { s.mMemoryManagers[0].mTotalBlocks = 41; },            // It grew while it was read.
             [](BusState& s) { slot(s).mChain.mEnd = Channel::ChainEnd::eNotData; }, // It was taken away.
             [](BusState& s) {
                 s.mCommunicators[0] = {9, 300, 1, {{}, {}, Living::eNo}};
             }, // It came and went.
         }) {
        BusState now = healthy();
        change(now);
        now.mInterfaces[0].mCommunicatorId = now.mInterfaces[1].mCommunicatorId = now.mCommunicators[0].mId;
        EXPECT_THAT(told(now, &sound), IsEmpty());
    }
    BusState now = healthy();
    slot(now).mState = Channel::eSlotStateReserved;
    BusState before = now;
    ++slot(now).mWriterCounter; // Another message.
    EXPECT_THAT(told(now, &before), IsEmpty());
    before = healthy();
    before.mCommunicators[0].mProcess.mStartedAfterBoot = std::chrono::seconds(4);
    EXPECT_THAT(told(healthy(), &before), ElementsAre("error dead-process")); // Its id was given to another process.
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

Contract contractOf(const std::string& members)
{
    std::istringstream text(R"({"schema": "zunic-bus-contract/1", "interfaces": [{"name": "Clock")" + members + "}]}");
    return readContract(text);
}

TEST(Contract, EachBreachIsTold)
{
    const BusState state = healthy();
    const std::pair<std::string, std::vector<std::string>> cases[] = {
        {"", {}},
        {R"(, "role": "Provider", "version": [1, 2, 3], "application": "clock?", "users": {"at_least": 1, "at_most": 1})",
         {}},
        {R"(, "type": "stub", "version": [1, 1, 65535])", {}},
        {R"(, "role": "Spare")", {"contract-missing"}},
        {R"(, "domain": "cloud")", {"contract-missing"}},
        {R"(, "domain": "cloud", "forbidden": true)", {}},
        {R"(, "type": "stub", "forbidden": true)", {"contract-forbidden"}},
        {R"(, "version": [1, 3, 0])", {"contract-version"}},
        {R"(, "application": "clock")", {"contract-application"}},
        {R"(, "users": {"at_least": 2})", {"contract-users"}},
        {R"(, "users": {"at_most": 0})", {"contract-users"}},
    };
    for (const auto& [members, expected] : cases) {
        std::vector<std::string> codes;
        for (const Finding& finding : compareWithContract(contractOf(members), BusIndex(state))) {
            codes.emplace_back(finding.mKind->mCode);
            EXPECT_EQ(finding.mSeverity, Severity::eError);
        }
        EXPECT_EQ(codes, expected) << members;
    }
    for (const std::string mistake : {R"(, "nmae": "x")", R"(, "version": [1, 2])", R"(, "users": {"least": 1})",
                                      R"(, "type": "any")", R"(, "forbidden": 1)", ", "}) {
        EXPECT_THROW(contractOf(mistake), NoState) << mistake;
    }
}

TEST(Contract, WrittenOfABusExpectsTheLeastOfWhatSharesAnIdentity)
{
    BusState state = healthy();
    const auto written = [&state] {
        std::ostringstream text;
        writeContract(text, BusIndex(state));
        return text.str();
    };
    state.mInterfaces[0].mName = "Clo\xff";
    state.mInterfaces[1].mName = "A";
    state.mCommunicators[0].mProcess.mApplication = "[c]*\\d?";
    state.mInterfaces.push_back(state.mInterfaces[0]);
    state.mInterfaces[2].mId = 3;
    state.mInterfaces[2].mVersion = {1, 2, 2};
    state.mInterfaces[2].mReceivers = {};
    state.mInterfaces.push_back(state.mInterfaces[1]);
    state.mInterfaces[3].mId = 4;
    state.mInterfaces[3].mReceivers = {1, 3};
    state.mInterfaces[3].mVersion = {1, 3, 0};
    state.mInterfaces[3].mCommunicatorId = Channel::cNoCommunicator;
    state.mInterfaces.push_back(interface(5, 77)); // Of no type.
    EXPECT_EQ(written(), R"({
  "schema": "zunic-bus-contract/1",
  "interfaces": [
    {
      "name": "A",
      "role": "User",
      "domain": "local",
      "type": "stub",
      "version": [
        1,
        2,
        3
      ]
    },
    {
      "name": [
        67,
        108,
        111,
        255
      ],
      "role": "Provider",
      "domain": "local",
      "type": "skeleton",
      "version": [
        1,
        2,
        2
      ],
      "application": "\\[c]\\*\\\\d\\?",
      "users": {
        "at_least": 1
      }
    }
  ]
}
)");
    state.mInterfaces.clear();
    EXPECT_EQ(written(), "{\n  \"schema\": \"zunic-bus-contract/1\",\n  \"interfaces\": []\n}\n");
}

TEST(Contract, MakesAMissingProviderAnError)
{
    BusState state = healthy();
    state.mInterfaces[1].mName = "Teapot";
    const BusIndex index(state);
    std::vector<Finding> findings = findAll(index);
    ASSERT_EQ(findings.size(), 1);
    EXPECT_EQ(findings[0].mSeverity, Severity::eWarning);
    addBreaches(contractOf(R"(, "version": [1, 3, 0])"), index, findings);
    ASSERT_EQ(findings.size(), 2);
    EXPECT_EQ(findings[0].mKind, findingKind("contract-version"));
    EXPECT_EQ(findings[1].mKind, findingKind("no-provider"));
    EXPECT_EQ(findings[1].mSeverity, Severity::eError);
}

TEST(Contract, OfABusIsKeptByItAndBrokenByAnother)
{
    const TestSupport::TemporaryDirectory directory;
    const std::string contract = directory / "contract.json";
    const TestSupport::LiveBus bus(SCENARIO_DIR "/healthy.json");
    const auto saved = TestSupport::inspect({"save", "--as-contract", contract, "-c", bus.channelName()});
    ASSERT_EQ(saved.status, 0) << saved.errors;
    EXPECT_EQ(TestSupport::invalidity("bus_contract.schema.json", contract), "");
    EXPECT_EQ(check({"--expect", contract, "--again", "0", "-c", bus.channelName()}).errors,
              "zunic_inspect: no findings\n");
    const auto piped = TestSupport::runProgram({"/bin/sh", "-c", "\"$0\" check --expect - --again 0 -c \"$1\" <\"$2\"",
                                                INSPECT_BINARY, bus.channelName(), contract});
    EXPECT_EQ(piped.errors, "zunic_inspect: no findings\n");
    for (const char* const other : {"--expect", "--from"}) {
        const auto twice = check({other, "-", "--from", "-"});
        EXPECT_EQ(twice.status, 2);
        EXPECT_THAT(twice.errors, HasSubstr("standard input"));
    }
    const TestSupport::LiveBus other(SCENARIO_DIR "/small.json");
    const auto broken = check({"--expect", contract, "--again", "0", "-c", other.channelName()});
    EXPECT_EQ(broken.status, 1);
    EXPECT_THAT(broken.output, HasSubstr("error    contract-missing "));
    TestSupport::writeFile(contract, "{\"schema\": 1}");
    const auto malformed = check({"--expect", contract, "-c", bus.channelName()});
    EXPECT_EQ(malformed.status, 5);
    EXPECT_THAT(malformed.errors, HasSubstr("contract.json: line 1, column 13: /schema: expected"));
}

} // namespace
