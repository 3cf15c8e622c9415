#include "message_layout.h"
#include "scenario_reader.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <set>
#include <string>
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

struct Mistake
{
    std::string text;
    std::string line;
};

const std::string cSound = R"("name": "n", "role": "r", "type": "stub", "version": "1.2.3")";

TEST(ScenarioReader, MistakesAreOneLineWithPlaceAndExpectation)
{
    const std::vector<Mistake> mistakes = {
        {"{\n  \"channel\": \"a\"\n  \"x\"", "f.json:3:5: expected JSON: "},
        {"", "f.json:1:1: expected JSON: "},
        {R"({"messageSlots": 1e999})", "f.json: expected numbers that a double can hold"},
        {"[]", "f.json: expected an object, not an array"},
        {R"({"proceses": []})", "f.json: unknown key \"proceses\", expected one of $schema, channel, messageSlots, "},
        {R"({"channel": ""})", "f.json: channel: expected a name without slash that is not empty, not \"\""},
        {R"({"channel": "a\nb/"})", "f.json: channel: expected a name without slash that is not empty, not \"a\\nb/\""},
        {R"({"messageSlots": 0})", "f.json: messageSlots: expected a whole number from 1 to 65536, not 0"},
        {R"({"messageSlots": -1})", "f.json: messageSlots: expected a whole number from 1 to 65536, not -1"},
        {R"({"messageSlots": 1.5})", "f.json: messageSlots: expected a whole number from 1 to 65536, not 1.5"},
        {R"({"memoryManagers": [{"initialBlocks": 9, "maximumBlocks": 8}]})",
         "f.json: memoryManagers[0]: expected a maximumBlocks (8) that is not below initialBlocks (9)"},
        {R"({"processes": {}})", "f.json: processes: expected an array, not an object"},
        {R"({"processes": [{}]})", "f.json: processes[0]: expected a key \"name\""},
        {R"({"processes": [{"name": "a/b"}]})", "f.json: processes[0].name: expected a file name, not \"a/b\""},
        {R"({"processes": [{"name": ".."}]})", "f.json: processes[0].name: expected a file name, not \"..\""},
        {R"({"processes": [{"name": "p", "leaves": 1}]})",
         "f.json: processes[0].leaves: expected true or false, not 1"},
        {R"({"processes": [{"name": "p", "count": 1025}]})", "f.json: processes[0]: expected at most 1024 processes"},
        {R"({"processes": [{"name": "p"}, {"name": "q", "communicators": [{"count": 1025}]}]})",
         "f.json: processes[1].communicators[0]: expected at most 1024 communicators in all"},
        {R"({"processes": [{"name": "p", "communicators": [{"id": 4095}, {}]}]})",
         "f.json: processes[0].communicators[1]: expected ids up to 4095, but this one would be 4096"},
        {withInterface("{" + cSound + R"(, "count": 1025})"),
         "f.json: processes[0].communicators[0].interfaces[0]: expected ids up to 1023, but this one would be 1024"},
        {withInterface("{" + cSound + R"(, "id": 1}, {)" + cSound + R"(, "id": 1})"),
         "f.json: processes[0].communicators[0].interfaces[1]: expected an id of its own, but 1 is that of "
         "processes[0].communicators[0].interfaces[0]"},
        {withInterface(R"({"name": "n", "role": "r", "type": "stupid"})"),
         "f.json: processes[0].communicators[0].interfaces[0].type: expected one of \"skeleton\", \"stub\", "
         "\"undefined\", not \"stupid\""},
        {withInterface(R"({"name": "a\u0000b"})"),
         "f.json: processes[0].communicators[0].interfaces[0].name: expected a string without NUL"},
        {withInterface(R"({"name": ")" + std::string(256, 'x') + "\"}"),
         "f.json: processes[0].communicators[0].interfaces[0].name: expected at most 255 bytes, not 256"},
        {withInterface(R"({"name": "{m}"})"), "f.json: processes[0].communicators[0].interfaces[0].name: expected "
                                              "placeholders like {n} or {n*16+15}, not an unknown placeholder"},
        {withInterface(R"({"name": "{n*99999999999999999999}"})"),
         "f.json: processes[0].communicators[0].interfaces[0].name: expected placeholders"},
        {withInterface(R"({"name": "{n"})"), "f.json: processes[0].communicators[0].interfaces[0].name: expected "
                                             "placeholders"},
        {withInterface("{" + cSound + R"(, "functions": ["open"]})"),
         "f.json: processes[0].communicators[0].interfaces[0]: expected a memory manager with blocks of 32 bytes"},
        {withClock(R"("links": [{"holder": 3, "receivers": "3-6"}])"),
         "f.json: links[0].receivers: expected registered interfaces of this scenario, but 6 is none of them"},
        {withClock(R"("links": [{"holder": "Clock/Nobody", "receivers": 3}])"),
         "f.json: links[0].holder: expected an interface id (0 to 1023), a range of ids or the name/role of an "
         "interface, not \"Clock/Nobody\""},
        {withClock(R"("links": [{"holder": 3, "receivers": [4, "5-4"]}])"), "f.json: links[0].receivers[1]: expected"},
        {withClock(R"("messages": [{"state": "message", "sender": "Clock/Consumer"}])"),
         "f.json: messages[0].sender: expected one interface, not 2"},
        {withClock(R"("messages": [{"state": "message", "sender": 4096}])"),
         "f.json: messages[0].sender: expected a whole number from 0 to 4095, not 4096"},
        {withClock(R"("messages": [{"state": "message", "sender": 1, "receivers": 1024}])"),
         "f.json: messages[0].receivers: expected a whole number from 0 to 1023, not 1024"},
        {withClock(R"("messages": [{"state": "reserved", "sender": 1, "external": 0}])"),
         "f.json: messages[0]: unknown key \"external\", expected one of count, state, sender"},
        {withClock(R"("messages": [{"state": "message", "sender": 1, "chainEnd": "loop"}])"),
         "f.json: messages[0].chainEnd: expected at least one of dataEntries"},
        {withClock(R"("messages": [{"state": "message", "sender": 1, "external": 0, "dataEntries": 1}])"),
         "f.json: messages[0].external: expected no dataEntries and no chainEnd"},
        {withClock(R"("messages": [{"state": "free", "count": 3}, {"state": "written", "sender": 1, "count": 2,
            "dataEntries": 2}])"),
         "f.json: messages[1]: expected messages for at most 8 message slots, but this one needs number 9"},
        {withClock(R"("messages": [{"state": "message", "sender": 1, "external": 0}],
            "blocks": [{"memoryManager": 0, "count": 2}])"),
         "f.json: blocks: expected at most 2 blocks from memoryManagers[0], not 3"},
        {withClock(R"("blocks": [{"memoryManager": 1}])"),
         "f.json: blocks[0].memoryManager: expected a whole number from 0 to 0, not 1"},
    };
    for (const Mistake& mistake : mistakes) {
        const std::string line = mistakeIn(mistake.text);
        EXPECT_TRUE(line.starts_with(mistake.line)) << line << "\nfor " << mistake.text;
        EXPECT_EQ(line.find('\n'), std::string::npos) << line;
    }
    for (const std::string version : {"1.2", "1.2.3.4", "1.2.3 ", "1.2.65536", "1..3", "-1.2.3", ""}) {
        const std::string line =
            mistakeIn(withInterface(R"({"name": "n", "role": "r", "type": "stub", "version": ")" + version + "\"}"));
        EXPECT_NE(line.find("interfaces[0].version: expected a version like \"1.0.3\""), std::string::npos) << line;
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

TEST(ScenarioReader, DefaultsOfAnEmptyScenario)
{
    const Scenario scenario = readScenario("{}", "f.json");
    EXPECT_EQ(scenario.channel, "OXABus");
    EXPECT_EQ(scenario.messageSlots, 64U);
    EXPECT_EQ(summary(scenario), "0 processes, 0 communicators, 0 interfaces, 0 links, 0 messages");
}

TEST(ScenarioReader, CopiesAndPlaceholdersAreWrittenOut)
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
    struct Expected
    {
        std::uint32_t index;
        SlotState state;
        std::uint32_t dataIndex;
        std::uint16_t writerCounter;
    };
    const std::vector<Expected> expected = {
        {0, SlotState::message, cNoDataEntry, 65535},
        {2, SlotState::written, 3, 0},
        {3, SlotState::data, 4, 0},
        {4, SlotState::data, 3, 0},
        {5, SlotState::message, 5, 1},
        {6, SlotState::message, 7, 2},
        {7, SlotState::data, 8, 0},
    };
    const std::vector<PlacedSlot> slots = layOutMessages(scenario);
    ASSERT_EQ(slots.size(), expected.size());
    for (std::size_t i = 0; i < slots.size(); ++i) {
        EXPECT_EQ(slots[i].index, expected[i].index);
        EXPECT_EQ(slots[i].slot.state, expected[i].state) << i;
        EXPECT_EQ(slots[i].slot.dataIndex, expected[i].dataIndex) << i;
        EXPECT_EQ(slots[i].slot.writerCounter, expected[i].writerCounter) << i;
        EXPECT_EQ(slots[i].slot.senderId, 3U) << i;
    }
    EXPECT_EQ(slots[0].slot.receivers, (std::vector<std::uint16_t>{4, 5, 70}));
}

TEST(ReadyMadeScenarios, HoldWhatTheyPromise)
{
    const Scenario small = readScenarioFile(SCENARIO_DIR "/small.json");
    EXPECT_EQ(summary(small), "5 processes, 7 communicators, 12 interfaces, 7 links, 6 messages");

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
