#include "scenario_reader.h"
#include "support/text.h"

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
    expectMistake("{\n  \"channel\": \"a\"\n  \"x\"", "f.json:3:5: not JSON: ");
    expectMistake("", "f.json:1:1: not JSON: ");
    const std::string first = "f.json: processes[0].communicators[0].interfaces[0].";
    expectMistake(withInterface(R"({"name": ")" + std::string(256, 'x') + "\"}"),
                  first + "name: expected at most 255 bytes, not 256");
    const auto withType = [](std::size_t length) {
        return withInterface(R"({"name": "n", "role": "r", "type": ")" + std::string(length, 'x') + "\"}");
    };
    const std::string typeExpected = first + R"(type: expected one of "skeleton", "stub", "undefined", not ")";
    expectMistake(withType(58), typeExpected + std::string(58, 'x') + '"');
    expectMistake(withType(59), typeExpected + std::string(59, 'x') + "...");
    for (const std::string version : {"1.2", "1.2.3.4", "1.2.3 ", "1.2.65536", "1..3", "-1.2.3"}) {
        expectMistake(withInterface(R"({"name": "n", "role": "r", "type": "stub", "version": ")" + version + "\"}"),
                      first + "version: expected a version like \"1.0.3\"");
    }
}

} // namespace
