#include "message_layout.h"
#include "scenario_reader.h"
#include "support/text.h"

#include <array>
#include <set>
#include <sstream>
#include <vector>

namespace {

using namespace ZunicDemo;
using ZunicHosting::cNoDataEntry;
using ZunicHosting::SlotState;

std::string mistakeIn(const std::string& text)
{
    try {
        readScenario(text, "f.json");
    } catch (const ScenarioMistake& mistake) {
        return mistake.what();
    }
    return "no mistake";
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

void expectMistake(const std::string& text, const std::string& start)
{
    const std::string line = mistakeIn(text);
    EXPECT_TRUE(line.starts_with(start)) << line << "\nfor " << text;
    EXPECT_EQ(line.find('\n'), std::string::npos) << line;
}

/// In the file each scenario is followed by how its complaint starts.
TEST(ScenarioReader, MistakesAreOneLineWithPlaceAndExpectation)
{
    std::istringstream lines(TestSupport::expectedText("scenario_mistakes.txt"));
    std::size_t count = 0;
    for (std::string scenario, start; std::getline(lines, scenario) && std::getline(lines >> std::ws, start); ++count) {
        const std::string behind = scenario.substr(scenario.find(' ') + 1);
        expectMistake(scenario.starts_with("interfaces ") ? withInterface(behind)
                      : scenario.starts_with("clock ")    ? withClock(behind)
                                                          : scenario,
                      start);
    }
    EXPECT_GT(count, 30U);
    expectMistake("{\n  \"channel\": \"a\"\n  \"x\"", "f.json:3:5: expected JSON: ");
    expectMistake("", "f.json:1:1: expected JSON: ");
    const std::string first = "f.json: processes[0].communicators[0].interfaces[0].";
    expectMistake(withInterface(R"({"name": ")" + std::string(256, 'x') + "\"}"),
                  first + "name: expected at most 255 bytes, not 256");
    for (const std::string version : {"1.2", "1.2.3.4", "1.2.3 ", "1.2.65536", "1..3", "-1.2.3", ""}) {
        expectMistake(withInterface(R"({"name": "n", "role": "r", "type": "stub", "version": ")" + version + "\"}"),
                      first + "version: expected a version like \"1.0.3\"");
    }
}

TEST(ScenarioReader, FilesThatCannotBeReadAreNamed)
{
    for (const auto& [file, reason] :
         {std::pair("/nonexistent/a.json", "No such file or directory"), std::pair(SCENARIO_DIR, "Is a directory")}) {
        try {
            readScenarioFile(file);
            ADD_FAILURE() << file;
        } catch (const ScenarioMistake& mistake) {
            EXPECT_EQ(mistake.what(), std::string(file) + ": expected a scenario file: " + reason);
        }
    }
}

TEST(ScenarioReader, CopiesPlaceholdersAndDefaultsAreWrittenOut)
{
    const Scenario scenario = readScenario(R"({"processes": [{"name": "p{n+1}", "count": 2, "communicators": [
        {"count": 2, "interfaces": [{"count": 2, "name": "{process}.{communicator}.{n}", "role": "{n*16+15}",
          "type": "stub", "version": "1.2.65535", "state": "preregistered"}]}]}],
        "links": [{"count": 2, "holder": "{n*4}-{n*4+1}", "receivers": ["{n*4+2}", 0]}]})",
                                           "f.json");
    std::set<std::string> names;
    for (const ProcessEntry& process : scenario.processes) {
        for (const CommunicatorEntry& communicator : process.communicators) {
            for (const InterfaceEntry& interface : communicator.interfaces) {
                names.insert(process.name + ":" + std::to_string(communicator.id) + ":" + std::to_string(interface.id) +
                             ":" + interface.name + "/" + interface.role);
            }
        }
    }
    EXPECT_EQ(names,
              (std::set<std::string>{"p1:0:0:0.0.0/15", "p1:0:1:0.0.1/31", "p1:1:2:0.1.0/15", "p1:1:3:0.1.1/31",
                                     "p2:2:4:1.0.0/15", "p2:2:5:1.0.1/31", "p2:3:6:1.1.0/15", "p2:3:7:1.1.1/31"}));
    const InterfaceEntry& interface = scenario.processes[1].communicators[1].interfaces[1];
    EXPECT_EQ(interface.version, (std::array<std::uint16_t, 3>{1, 2, 65535}));
    EXPECT_EQ(interface.state, ZunicHosting::RegistrationState::preregistered);
    EXPECT_EQ(interface.domain, "local");

    EXPECT_EQ(scenario.channel, "OXABus");
    EXPECT_EQ(scenario.messageSlots, 64U);

    ASSERT_EQ(scenario.links.size(), 4U);
    EXPECT_EQ(idsOf(scenario.links.at(1)), (std::vector<std::uint16_t>{0, 2}));
    EXPECT_EQ(idsOf(scenario.links.at(5)), (std::vector<std::uint16_t>{0, 6}));
}

TEST(MessageLayout, ChainsFollowTheirMessagesAndEndAsAsked)
{
    const Scenario scenario = readScenario(withClock(R"("messages": [
        {"state": "message", "sender": "Clock/Provider", "receivers": ["Clock/Consumer", 70], "writerCounter": 65535},
        {"state": "free"},
        {"state": "written", "sender": 3, "dataEntries": 2, "chainEnd": "loop"},
        {"state": "message", "sender": 3, "chainEnd": "message"},
        {"state": "message", "sender": 3, "dataEntries": 1, "chainEnd": "outside"}])"),
                                           "f.json");
    std::vector<std::array<std::uint32_t, 4>> placed; // index, state, data index, writer counter
    const std::vector<PlacedSlot> slots = layOutMessages(scenario);
    for (const auto& [index, slot, external] : slots) {
        placed.push_back({index, static_cast<std::uint32_t>(slot.state), slot.dataIndex, slot.writerCounter});
        EXPECT_EQ(slot.senderId, 3U);
    }
    const std::vector<std::array<std::uint32_t, 4>> expected = {{0, 3, cNoDataEntry, 65535},
                                                                {2, 2, 3, 0},
                                                                {3, 4, 4, 0},
                                                                {4, 4, 3, 0},
                                                                {5, 3, 5, 1},
                                                                {6, 3, 7, 2},
                                                                {7, 4, 8, 0}};
    EXPECT_EQ(placed, expected);
    EXPECT_EQ(slots[0].slot.receivers, (std::vector<std::uint16_t>{4, 5, 70}));
}

TEST(ReadyMadeScenarios, FullOneHoldsWhatItPromises)
{
    const Scenario full = readScenarioFile(SCENARIO_DIR "/full.json");
    EXPECT_EQ(summary(full), "256 processes, 1024 communicators, 1024 interfaces, 16384 links, 1431 messages");
    std::set<SlotState> states;
    for (const PlacedSlot& placed : layOutMessages(full)) {
        states.insert(placed.slot.state);
    }
    EXPECT_EQ(states,
              (std::set<SlotState>{SlotState::reserved, SlotState::written, SlotState::message, SlotState::data}));
    EXPECT_EQ(layOutMessages(full).back().index, full.messageSlots - 1);
}

} // namespace
