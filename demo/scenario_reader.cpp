#include "scenario_reader.h"

#include "message_reader.h"
#include "process_reader.h"
#include "scenario_place.h"
#include "traffic_reader.h"
#include "json/parse_json.h"
#include "json/text_position.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace ZunicDemo {

namespace {

using ZunicHosting::cMaximumBlocksPerManager;
using ZunicHosting::MemoryManagerOptions;
using ZunicJson::NumberLimits;

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
    std::string name = readText(*place, {}, cLongestChannelName);
    if (name.empty() || name.find('/') != std::string::npos) {
        place->expected("a non-empty name without a slash");
    }
    return name;
}

std::uint32_t numberOr(const JsonPlace& place, const char* key, std::uint32_t absent, NumberLimits limits)
{
    const std::optional<JsonPlace> found = place.find(key);
    return found ? static_cast<std::uint32_t>(found->unsignedWithin(limits)) : absent;
}

MemoryManagerOptions readMemoryManager(const JsonPlace& place)
{
    requireKeys(place, {"blockSize", "initialBlocks", "additionalBlocks", "maximumBlocks"});
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
    forEachOf(root, "memoryManagers", [&](const JsonPlace& place) {
        if (scenario.memoryManagers.size() == cMostMemoryManagers) {
            place.fail("expected at most " + std::to_string(cMostMemoryManagers) + " memory managers");
        }
        scenario.memoryManagers.push_back(readMemoryManager(place));
    });
}

void readLinks(const JsonPlace& root, const InterfaceReferences& references, Scenario& scenario)
{
    forEachOf(root, "links", [&](const JsonPlace& place) {
        requireKeys(place, {"count", "holder", "receivers"});
        for (std::uint64_t copy = 0, copies = readCount(place); copy < copies; ++copy) {
            const PlaceholderNumbers numbers{{"n", copy}};
            const InterfaceSet receivers = references.connectable(require(place, "receivers"), numbers);
            for (const std::uint16_t holder : idsOf(references.connectable(require(place, "holder"), numbers))) {
                scenario.links[holder] |= receivers;
            }
        }
    });
}

Scenario readRoot(const JsonPlace& root)
{
    requireKeys(root, {"$schema", "channel", "messageSlots", "memoryManagers", "processes", "links", "messages",
                       "blocks", "traffic"});
    Scenario scenario;
    scenario.channel = readChannelName(root);
    scenario.messageSlots = numberOr(root, "messageSlots", 64, {1, cMostMessageSlots});
    readMemoryManagers(root, scenario);
    const InterfaceReferences references = readProcesses(root, scenario);
    readLinks(root, references, scenario);
    readMessages(root, references, scenario);
    readBlocks(root, scenario);
    readTraffic(root, references, scenario);
    return scenario;
}

} // namespace

Scenario readScenario(std::string_view text, const std::string& fileName)
{
    try {
        const ZunicJson::Json document = ZunicJson::parseJson(text);
        return readRoot(JsonPlace(document));
    } catch (const ZunicJson::Unparsable& mistake) {
        const auto [line, column] = ZunicJson::positionOf(text, mistake.mOffset);
        throw ScenarioMistake(fileName + ":" + std::to_string(line) + ":" + std::to_string(column) + ": " +
                              mistake.what());
    } catch (const ZunicJson::Misplaced& mistake) {
        const std::string path = pathText(mistake.mPointer);
        throw ScenarioMistake(fileName + ": " + path + (path.empty() ? "" : ": ") + mistake.what() +
                              (mistake.mInstead.empty() ? "" : ", not ") + mistake.mInstead);
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
