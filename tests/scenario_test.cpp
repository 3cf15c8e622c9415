#include "message_layout.h"
#include "scenario_reader.h"
#include "support/text.h"

#include <array>
#include <gmock/gmock.h>
#include <sstream>
#include <vector>

using namespace ZunicDemo;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

void expectMistake(const std::string& text, const std::string& start)
{
    try {
        readScenario(text, "f.json");
        ADD_FAILURE() << text;
    } catch (const ScenarioMistake& mistake) {
        EXPECT_THAT(mistake.what(), AllOf(StartsWith(start), Not(HasSubstr("\n")))) << text;
    }
}

/// A scenario with one process whose one communicator has this interface.
std::string withInterface(const std::string& interface)
{
    return R"({"processes": [{"name": "p", "communicators": [{"interfaces": [)" + interface + "]}]}]}";
}

/// A scenario with the interfaces 3 (Clock/Provider), 4 and 5 (both Clock/Consumer), and more behind that.
std::string withClock(const std::string& more)
{
    return R"({"messageSlots": 8, "memoryManagers": [{"initialBlocks": 1, "maximumBlocks": 2}],
        "processes": [{"name": "p", "communicators": [{"interfaces": [
          {"id": 3, "name": "Clock", "role": "Provider", "type": "skeleton", "version": "1.0.0"},
          {"count": 2, "name": "Clock", "role": "Consumer", "type": "stub", "version": "1.0.0"}]}]}], )" +
           more + "}";
}

/// In the file each scenario is followed by how its complaint starts.
TEST(Scenario, MistakesAreOneLineWithPlaceAndExpectation)
{
    std::istringstream lines(TestSupport::expectedText("scenario_mistakes.txt"));
    std::size_t count = 0;
    for (std::string scenario, start; std::getline(lines, scenario) && std::getline(lines >> std::ws, start); ++count) {
        const std::string behind = scenario.substr(scenario.find(' ') + 1);
        const bool isInterface = scenario.starts_with("interfaces ");
        const bool isClock = scenario.starts_with("clock ");
        expectMistake(isInterface ? withInterface(behind) : isClock ? withClock(behind) : scenario, start);
    }
    EXPECT_GT(count, 30U);
    expectMistake("{\n  \"channel\": \"a\"\n  \"x\"", "f.json:3:5: expected JSON: ");
    expectMistake("", "f.json:1:1: expected JSON: ");
    const std::string first = "f.json: processes[0].communicators[0].interfaces[0].";
    expectMistake(withInterface(R"({"name": ")" + std::string(256, 'x') + "\"}"),
                  first + "name: expected at most 255 bytes, not 256");
    for (const std::string version : {"1.2", "1.2.3.4", "1.2.3 ", "1.2.65536", "1..3", "-1.2.3"}) {
        expectMistake(withInterface(R"({"name": "n", "role": "r", "type": "stub", "version": ")" + version + "\"}"),
                      first + "version: expected a version like \"1.0.3\"");
    }
}

TEST(Scenario, CopiesPlaceholdersAndDefaultsAreWrittenOut)
{
    const Scenario scenario = readScenario(R"({"processes": [{"name": "p{n+1}", "count": 2, "communicators": [
        {"count": 2, "interfaces": [{"count": 2, "name": "{process}.{communicator}.{n}", "role": "{n*16+15}",
          "type": "stub", "version": "1.2.65535"}]}]}],
        "links": [{"count": 2, "holder": "{n*4}-{n*4+1}", "receivers": ["{n*4+2}", 0]}]})",
                                           "f.json");
    std::vector<std::string> names;
    for (const ProcessEntry& process : scenario.processes) {
        for (const CommunicatorEntry& communicator : process.communicators) {
            for (const InterfaceEntry& interface : communicator.interfaces) {
                names.push_back(process.name + ":" + std::to_string(communicator.id) + ":" +
                                std::to_string(interface.id) + ":" + interface.name + "/" + interface.role);
            }
        }
    }
    EXPECT_THAT(names, ElementsAre("p1:0:0:0.0.0/15", "p1:0:1:0.0.1/31", "p1:1:2:0.1.0/15", "p1:1:3:0.1.1/31",
                                   "p2:2:4:1.0.0/15", "p2:2:5:1.0.1/31", "p2:3:6:1.1.0/15", "p2:3:7:1.1.1/31"));
    EXPECT_EQ(scenario.channel, "OXABus");
    ASSERT_EQ(scenario.links.size(), 4U);
    EXPECT_THAT(idsOf(scenario.links.at(1)), ElementsAre(0, 2));
    EXPECT_THAT(idsOf(scenario.links.at(5)), ElementsAre(0, 6));
}

TEST(Scenario, MessageChainsEndAsAsked)
{
    const std::vector<PlacedSlot> slots = layOutMessages(readScenario(withClock(R"("messages": [
        {"state": "message", "sender": "Clock/Provider", "receivers": ["Clock/Consumer", 70], "writerCounter": 65535},
        {"state": "free"},
        {"state": "written", "sender": 3, "dataEntries": 2, "chainEnd": "loop"},
        {"state": "message", "sender": 3, "chainEnd": "message"},
        {"state": "message", "sender": 3, "dataEntries": 1, "chainEnd": "outside"}])"),
                                                                      "f.json"));
    std::vector<std::array<std::uint32_t, 4>> placed; // index, state, data index, writer counter
    for (const auto& [index, slot, external] : slots) {
        placed.push_back({index, static_cast<std::uint32_t>(slot.state), slot.dataIndex, slot.writerCounter});
        EXPECT_EQ(slot.senderId, 3U);
    }
    EXPECT_THAT(placed, ElementsAre(std::array{0U, 3U, ZunicHosting::cNoDataEntry, 65535U}, std::array{2U, 2U, 3U, 0U},
                                    std::array{3U, 4U, 4U, 0U}, std::array{4U, 4U, 3U, 0U}, std::array{5U, 3U, 5U, 1U},
                                    std::array{6U, 3U, 7U, 2U}, std::array{7U, 4U, 8U, 0U}));
    EXPECT_THAT(slots[0].slot.receivers, ElementsAre(4, 5, 70));
}

} // namespace
