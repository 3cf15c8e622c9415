#include "inspect/findings/contract/compare_contract.h"
#include "inspect/findings/contract/write_contract.h"
#include "inspect/saved/state_json.h"
#include "support/healthy_bus.h"
#include "support/inspect.h"
#include "support/json_schema.h"
#include "support/live_bus.h"

#include <gmock/gmock.h>

using namespace Inspect;
using namespace TestSupport;
using testing::HasSubstr;

namespace {

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
        {R"(, "users": {"at_least": 0})", {}},
        {R"(, "users": {"at_most": 1})", {}},
        {R"(, "users": {"at_least": 2, "at_most": 0})", {"contract-users"}},
        {R"(, "users": {})", {}},
        {R"(, "version": [0, 9, 9])", {}},
        {R"(, "version": [1, 2, 4])", {"contract-version"}},
        {R"(, "version": [2, 0, 0])", {"contract-version"}},
        {R"(, "application": "clock[de]")", {}},
        {R"(, "application": "\\clock\\d")", {}},
        {R"(, "application": "Clockd")", {"contract-application"}},
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

/// Written again like the outputs of the commands: see expected_test.py.
TEST(Contract, OfADamagedBusIsComplete)
{
    const std::string folder = EXPECTED_DIR "/../states/";
    std::istringstream state(readFile(folder + "damaged.json"));
    const BusState damaged = readState(state);
    std::ostringstream contract;
    writeContract(contract, BusIndex(damaged));
    const std::string file = folder + "contract_of_damaged.json";
    if (const char* const isWritten = std::getenv("ZUNIC_WRITE_EXPECTED"); isWritten != nullptr) {
        writeFile(file, contract.str());
    }
    EXPECT_EQ(contract.str(), readFile(file));
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
    const auto saved = inspect({"save", "--as-contract", contract, "-c", bus.channelName()});
    ASSERT_EQ(saved.status, 0) << saved.errors;
    EXPECT_EQ(TestSupport::invalidity("bus_contract.schema.json", contract), "");
    EXPECT_EQ(inspect({"check", "--expect", contract, "--again", "0", "-c", bus.channelName()}).errors,
              "zunic_inspect: no findings\n");
    const auto piped = TestSupport::runProgram({"/bin/sh", "-c", "\"$0\" check --expect - --again 0 -c \"$1\" <\"$2\"",
                                                INSPECT_BINARY, bus.channelName(), contract});
    EXPECT_EQ(piped.errors, "zunic_inspect: no findings\n");
    for (const char* const other : {"--expect", "--from"}) {
        const auto twice = inspect({"check", other, "-", "--from", "-"});
        EXPECT_EQ(twice.status, 2);
        EXPECT_THAT(twice.errors, HasSubstr("standard input"));
    }
    const TestSupport::LiveBus other(SCENARIO_DIR "/small.json");
    const auto broken = inspect({"check", "--expect", contract, "--again", "0", "-c", other.channelName()});
    EXPECT_EQ(broken.status, 1);
    EXPECT_THAT(broken.output, HasSubstr("error    contract-missing "));
    TestSupport::writeFile(contract, "{\"schema\": 1}");
    const auto malformed = inspect({"check", "--expect", contract, "-c", bus.channelName()});
    EXPECT_EQ(malformed.status, 5);
    EXPECT_THAT(malformed.errors, HasSubstr("contract.json: line 1, column 13: /schema: expected"));
}

} // namespace
