#include "scenario_reader.h"

#include "json_place.h"
#include "message_reader.h"
#include "process_reader.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace ZunicDemo {

namespace {

using ZunicHosting::cMaximumBlocksPerManager;
using ZunicHosting::MemoryManagerOptions;

constexpr std::uint64_t cMostMessageSlots = 65536;
constexpr std::uint64_t cMostMemoryManagers = 64;
constexpr std::uint64_t cLargestBlock = 65536;
constexpr std::size_t cLongestChannelName = 200;

std::string readChannelName(const JsonPlace& root)
{
    const std::optional<JsonPlace> place = root.find("channel");
    if (!place) {
        return "OXABus";
    }
    std::string name = place->text({}, cLongestChannelName);
    if (name.empty() || name.find('/') != std::string::npos) {
        place->failExpecting("a name without slash that is not empty");
    }
    return name;
}

std::uint32_t numberOr(const JsonPlace& place, const std::string& key, std::uint32_t absent, NumberLimits limits)
{
    const std::optional<JsonPlace> found = place.find(key);
    return found ? static_cast<std::uint32_t>(found->number(limits)) : absent;
}

MemoryManagerOptions readMemoryManager(const JsonPlace& place)
{
    place.requireKeys({"blockSize", "initialBlocks", "additionalBlocks", "maximumBlocks"});
    MemoryManagerOptions manager;
    manager.blockSize = numberOr(place, "blockSize", manager.blockSize, {1, cLargestBlock});
    const NumberLimits blocks{0, cMaximumBlocksPerManager};
    manager.initialBlocks = numberOr(place, "initialBlocks", manager.initialBlocks, blocks);
    manager.additionalBlocks = numberOr(place, "additionalBlocks", manager.additionalBlocks, blocks);
    manager.maximumBlocks = numberOr(place, "maximumBlocks", manager.maximumBlocks, blocks);
    if (manager.maximumBlocks < manager.initialBlocks) {
        place.fail("expected a maximumBlocks (" + std::to_string(manager.maximumBlocks) +
                   ") that is not below initialBlocks (" + std::to_string(manager.initialBlocks) + ")");
    }
    return manager;
}

void readMemoryManagers(const JsonPlace& root, Scenario& scenario)
{
    for (const JsonPlace& place : root.elements("memoryManagers")) {
        if (scenario.memoryManagers.size() == cMostMemoryManagers) {
            place.fail("expected at most " + std::to_string(cMostMemoryManagers) + " memory managers");
        }
        scenario.memoryManagers.push_back(readMemoryManager(place));
    }
}

void readLinks(const JsonPlace& root, const InterfaceReferences& references, Scenario& scenario)
{
    for (const JsonPlace& place : root.elements("links")) {
        place.requireKeys({"count", "holder", "receivers"});
        for (std::uint64_t copy = 0, copies = readCount(place); copy < copies; ++copy) {
            const PlaceholderNumbers numbers{{"n", copy}};
            const InterfaceSet receivers = references.connectable(place.require("receivers"), numbers);
            for (const std::uint16_t holder : idsOf(references.connectable(place.require("holder"), numbers))) {
                scenario.links[holder] |= receivers;
            }
        }
    }
}

Scenario readRoot(const JsonPlace& root)
{
    root.requireKeys(
        {"$schema", "channel", "messageSlots", "memoryManagers", "processes", "links", "messages", "blocks"});
    Scenario scenario;
    scenario.channel = readChannelName(root);
    scenario.messageSlots = numberOr(root, "messageSlots", 64, {1, cMostMessageSlots});
    readMemoryManagers(root, scenario);
    const InterfaceReferences references = readProcesses(root, scenario);
    readLinks(root, references, scenario);
    readMessages(root, references, scenario);
    readBlocks(root, scenario);
    return scenario;
}

/// What the parser says, without its own introduction, behind the line and column that it says it about.
std::string describeSyntaxError(std::string_view text, const nlohmann::json::parse_error& error)
{
    const std::string_view before = text.substr(0, error.byte == 0 ? 0 : error.byte - 1);
    const auto line = std::count(before.begin(), before.end(), '\n') + 1;
    const std::size_t lineStart = before.rfind('\n') + 1; // npos + 1 is 0, the start of the first line
    const std::string_view what = error.what();
    const std::size_t detail = what.find(": ");
    return std::to_string(line) + ":" + std::to_string(before.size() - lineStart + 1) +
           ": expected JSON: " + std::string(detail == std::string_view::npos ? what : what.substr(detail + 2));
}

} // namespace

Scenario readScenario(std::string_view text, const std::string& fileName)
{
    try {
        const nlohmann::json document = nlohmann::json::parse(text);
        return readRoot(JsonPlace(document, ""));
    } catch (const nlohmann::json::parse_error& error) {
        throw ScenarioMistake(fileName + ":" + describeSyntaxError(text, error));
    } catch (const nlohmann::json::exception&) {
        // The one thing else that parsing can fail on.
        throw ScenarioMistake(fileName + ": expected numbers that a double can hold");
    } catch (const PlaceMistake& mistake) {
        throw ScenarioMistake(fileName + ": " + mistake.what());
    }
}

Scenario readScenarioFile(const std::string& fileName)
{
    errno = 0;
    std::ifstream file(fileName, std::ios::binary);
    const int error = std::filesystem::is_directory(fileName) ? EISDIR : errno;
    if (!file || error == EISDIR) {
        throw ScenarioMistake(fileName + ": expected a scenario file: " + std::strerror(error));
    }
    std::ostringstream text;
    text << file.rdbuf();
    return readScenario(text.str(), fileName);
}

} // namespace ZunicDemo
