#include "message_reader.h"

#include "process_reader.h"

#include <limits>

namespace ZunicDemo {

namespace {

using ZunicHosting::SlotState;

class MessageReader
{
public:
    MessageReader(const InterfaceReferences& references, Scenario& scenario)
        : mReferences(&references), mScenario(&scenario)
    {}

    void readEntry(const JsonPlace& place, std::uint64_t copy);

private:
    void readMessage(const JsonPlace& place, const PlaceholderNumbers& numbers, MessageEntry& entry);
    void readData(const JsonPlace& place, MessageEntry& entry) const;
    void takeSlots(const JsonPlace& place, const MessageEntry& entry);

    const InterfaceReferences* mReferences;
    Scenario* mScenario;
    std::uint64_t mSlotsTaken = 0;
    std::uint16_t mWriterCounter = 0;
};

void requireKeysOf(SlotState state, const JsonPlace& place)
{
    switch (state) {
    case SlotState::free:
        return requireKeys(place, {"count", "state"});
    case SlotState::reserved:
    case SlotState::data:
        return requireKeys(place, {"count", "state", "sender"});
    case SlotState::written:
    case SlotState::message:
        return requireKeys(place, {"count", "state", "sender", "receivers", "userDataSize", "writerCounter",
                                   "dataEntries", "chainEnd", "external"});
    }
}

void MessageReader::readEntry(const JsonPlace& place, std::uint64_t copy)
{
    const PlaceholderNumbers numbers{{"n", copy}};
    MessageEntry entry;
    entry.state = readWord<SlotState>(require(place, "state"), {{"reserved", SlotState::reserved},
                                                                {"written", SlotState::written},
                                                                {"message", SlotState::message},
                                                                {"data", SlotState::data},
                                                                {"free", SlotState::free}});
    requireKeysOf(entry.state, place);
    if (entry.state != SlotState::free) {
        entry.sender = mReferences->sender(require(place, "sender"), numbers);
    }
    if (entry.state == SlotState::written || entry.state == SlotState::message) {
        readMessage(place, numbers, entry);
    }
    takeSlots(place, entry);
    mScenario->messages.push_back(entry);
}

void MessageReader::readMessage(const JsonPlace& place, const PlaceholderNumbers& numbers, MessageEntry& entry)
{
    if (const std::optional<JsonPlace> receivers = place.find("receivers")) {
        entry.receivers = mReferences->anyIds(*receivers, numbers);
    }
    if (const std::optional<JsonPlace> size = place.find("userDataSize")) {
        entry.userDataSize =
            static_cast<std::uint32_t>(size->unsignedWithin({0, std::numeric_limits<std::uint32_t>::max()}));
    }
    const std::optional<JsonPlace> counter = place.find("writerCounter");
    mWriterCounter = static_cast<std::uint16_t>(
        counter && numbers.at("n") == 0 ? counter->unsignedWithin({0, std::numeric_limits<std::uint16_t>::max()})
                                        : mWriterCounter + 1U);
    entry.writerCounter = mWriterCounter;
    readData(place, entry);
}

void MessageReader::readData(const JsonPlace& place, MessageEntry& entry) const
{
    if (const std::optional<JsonPlace> entries = place.find("dataEntries")) {
        entry.dataEntries = static_cast<std::uint32_t>(entries->unsignedWithin({0, mScenario->messageSlots}));
    }
    if (const std::optional<JsonPlace> end = place.find("chainEnd")) {
        entry.chainEnd = readWord<ChainEnd>(*end, {{"none", ChainEnd::none},
                                                   {"outside", ChainEnd::outside},
                                                   {"message", ChainEnd::message},
                                                   {"loop", ChainEnd::loop}});
        if (entry.chainEnd == ChainEnd::loop && entry.dataEntries == 0) {
            end->fail("expected at least one data entry for a chain that loops");
        }
    }
    if (const std::optional<JsonPlace> external = place.find("external")) {
        if (entry.dataEntries != 0 || entry.chainEnd != ChainEnd::none) {
            external->fail("expected neither dataEntries nor chainEnd with an external data entry");
        }
        entry.external = readMemoryManagerIndex(*external, *mScenario);
    }
}

void MessageReader::takeSlots(const JsonPlace& place, const MessageEntry& entry)
{
    mSlotsTaken += 1 + entry.dataEntries;
    if (mSlotsTaken > mScenario->messageSlots) {
        place.fail("expected messages for at most " + std::to_string(mScenario->messageSlots) +
                   " message slots, but this one needs number " + std::to_string(mSlotsTaken));
    }
}

} // namespace

std::uint16_t readMemoryManagerIndex(const JsonPlace& place, const Scenario& scenario)
{
    if (scenario.memoryManagers.empty()) {
        place.fail("expected memoryManagers in the scenario: this entry refers to one of them");
    }
    return static_cast<std::uint16_t>(place.unsignedWithin({0, scenario.memoryManagers.size() - 1}));
}

void readMessages(const JsonPlace& root, const InterfaceReferences& references, Scenario& scenario)
{
    MessageReader reader(references, scenario);
    forEachOf(root, "messages", [&](const JsonPlace& place) {
        for (std::uint64_t copy = 0, copies = readCount(place); copy < copies; ++copy) {
            reader.readEntry(place, copy);
        }
    });
}

void readBlocks(const JsonPlace& root, Scenario& scenario)
{
    std::vector<std::uint64_t> used(scenario.memoryManagers.size());
    forEachOf(root, "blocks", [&](const JsonPlace& place) {
        requireKeys(place, {"memoryManager", "count"});
        BlocksEntry blocks;
        blocks.memoryManager = readMemoryManagerIndex(require(place, "memoryManager"), scenario);
        blocks.count = static_cast<std::uint32_t>(readCount(place));
        used[blocks.memoryManager] += blocks.count;
        scenario.blocks.push_back(blocks);
    });
    for (const MessageEntry& entry : scenario.messages) {
        if (entry.external) {
            ++used[*entry.external];
        }
    }
    for (std::size_t i = 0; i < used.size(); ++i) {
        const std::uint32_t maximum = scenario.memoryManagers[i].maximumBlocks;
        if (used[i] > maximum) {
            root.fail("blocks: expected at most " + std::to_string(maximum) + " blocks from memoryManagers[" +
                      std::to_string(i) + "], not " + std::to_string(used[i]));
        }
    }
}

} // namespace ZunicDemo
