#include "traffic_reader.h"

#include "message_reader.h"
#include "process_reader.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace ZunicDemo {

namespace {

constexpr std::uint64_t cSecond = 1'000'000'000;
constexpr std::uint64_t cLongestTime = 3600 * cSecond;
constexpr std::uint64_t cHighestRate = 100'000;
constexpr std::uint64_t cLargestBurst = 4096;
constexpr std::uint64_t cHighestLimit = 1'000'000'000;

/// "100 us" in nanoseconds; absent when `text` is no such time.
std::optional<std::uint64_t> parseTime(std::string_view text)
{
    struct Unit
    {
        std::string_view name;
        std::uint64_t nanoseconds;
    };
    std::uint64_t number = 0;
    const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc{}) {
        return std::nullopt;
    }
    const auto name = text.substr(static_cast<std::size_t>(stop - text.data()));
    for (const Unit& unit : std::array<Unit, 3>{{{" us", 1000}, {" ms", 1'000'000}, {" s", cSecond}}}) {
        if (name == unit.name && number <= cLongestTime / unit.nanoseconds) {
            return number * unit.nanoseconds;
        }
    }
    return std::nullopt;
}

std::uint64_t readTime(const JsonPlace& place)
{
    const std::optional<std::uint64_t> time = parseTime(place.text());
    if (!time) {
        place.expected("a time like \"100 us\", \"20 ms\" or \"5 s\", of an hour at most");
    }
    return *time;
}

std::uint64_t timeOr(const JsonPlace& place, const char* key, std::uint64_t absent)
{
    const std::optional<JsonPlace> found = place.find(key);
    return found ? readTime(*found) : absent;
}

class TrafficReader
{
public:
    TrafficReader(const InterfaceReferences& references, Scenario& scenario);

    void readFlow(const JsonPlace& place, std::uint64_t copy);

private:
    void readSender(const JsonPlace& place, const PlaceholderNumbers& numbers, FlowEntry& flow) const;
    void readReceivers(const JsonPlace& place, const PlaceholderNumbers& numbers, FlowEntry& flow) const;
    void readData(const JsonPlace& place, FlowEntry& flow) const;
    std::uint32_t processOf(const JsonPlace& place, std::uint16_t interface) const;

    const InterfaceReferences* mReferences;
    Scenario* mScenario;
    /// The process by interface, if it stays.
    std::map<std::uint16_t, std::uint32_t> mProcesses;
};

TrafficReader::TrafficReader(const InterfaceReferences& references, Scenario& scenario)
    : mReferences(&references), mScenario(&scenario)
{
    std::uint32_t index = 0;
    for (const ProcessEntry& process : scenario.processes) {
        if (process.leaves) {
            continue;
        }
        for (const CommunicatorEntry& communicator : process.communicators) {
            for (const InterfaceEntry& interface : communicator.interfaces) {
                mProcesses.emplace(interface.id, index);
            }
        }
        ++index;
    }
}

std::uint32_t TrafficReader::processOf(const JsonPlace& place, std::uint16_t interface) const
{
    const auto found = mProcesses.find(interface);
    if (found == mProcesses.end()) {
        place.fail("expected an interface of a process that stays, but " + std::to_string(interface) + " is not one");
    }
    return found->second;
}

void readRhythm(const JsonPlace& place, FlowEntry& flow)
{
    const std::optional<JsonPlace> rate = place.find("rate");
    const std::optional<JsonPlace> burst = place.find("burst");
    if (rate.has_value() == burst.has_value()) {
        place.fail("expected either a key \"rate\" or a key \"burst\"");
    }
    if (rate) {
        flow.period = cSecond / rate->unsignedWithin({1, cHighestRate});
        return;
    }
    requireKeys(*burst, {"count", "every"});
    flow.burst = require(*burst, "count").unsignedWithin({1, cLargestBurst});
    const JsonPlace every = require(*burst, "every");
    flow.period = readTime(every);
    if (flow.period == 0) {
        every.expected("a time that is not zero");
    }
}

void TrafficReader::readSender(const JsonPlace& place, const PlaceholderNumbers& numbers, FlowEntry& flow) const
{
    flow.sender = mReferences->sender(place, numbers);
    if (flow.sender == 0) {
        place.fail("expected an interface with another id than 0: messages of sender 0 count as free slots");
    }
    flow.process = processOf(place, flow.sender);
}

void TrafficReader::readReceivers(const JsonPlace& place, const PlaceholderNumbers& numbers, FlowEntry& flow) const
{
    InterfaceSet all;
    require(place, "receivers").forEach([&](const JsonPlace& entry) {
        requireKeys(entry, {"interfaces", "readingTime", "stopsAfter", "resumesAfter"});
        FlowReceiver receiver;
        receiver.readingTime = timeOr(entry, "readingTime", receiver.readingTime);
        receiver.stopsAfter = timeOr(entry, "stopsAfter", receiver.stopsAfter);
        receiver.resumesAfter = timeOr(entry, "resumesAfter", receiver.resumesAfter);
        if (receiver.resumesAfter != cNever && receiver.stopsAfter == cNever) {
            entry.fail("expected a key \"stopsAfter\" with \"resumesAfter\"");
        }
        const JsonPlace interfaces = require(entry, "interfaces");
        for (const std::uint16_t id : idsOf(mReferences->anyIds(interfaces, numbers))) {
            if (all.test(id)) {
                interfaces.fail("expected each receiver once, but " + std::to_string(id) + " is there again");
            }
            all.set(id);
            receiver.interface = id;
            receiver.process = processOf(interfaces, id);
            flow.receivers.push_back(receiver);
        }
    });
    std::ranges::sort(flow.receivers, {}, &FlowReceiver::interface);
    if (flow.receivers.empty()) {
        place.fail("expected at least one receiver: without one, messages stay forever");
    }
}

void TrafficReader::readData(const JsonPlace& place, FlowEntry& flow) const
{
    if (const std::optional<JsonPlace> size = place.find("userDataSize")) {
        flow.userDataSize = size->number<std::uint32_t>();
    }
    const std::optional<JsonPlace> entries = place.find("dataEntries");
    if (entries) {
        flow.dataEntries = static_cast<std::uint32_t>(entries->unsignedWithin({0, mScenario->messageSlots - 1}));
    }
    if (const std::optional<JsonPlace> external = place.find("external")) {
        if (flow.dataEntries != 0) {
            external->fail("expected no dataEntries with an external data entry");
        }
        flow.external = readMemoryManagerIndex(*external, *mScenario);
    }
}

void TrafficReader::readFlow(const JsonPlace& place, std::uint64_t copy)
{
    requireKeys(place,
                {"count", "sender", "receivers", "rate", "burst", "limit", "userDataSize", "dataEntries", "external"});
    const PlaceholderNumbers numbers{{"n", copy}};
    FlowEntry flow;
    readSender(require(place, "sender"), numbers, flow);
    readReceivers(place, numbers, flow);
    readRhythm(place, flow);
    if (const std::optional<JsonPlace> limit = place.find("limit")) {
        flow.limit = limit->unsignedWithin({1, cHighestLimit});
    }
    readData(place, flow);
    mScenario->traffic.push_back(std::move(flow));
}

} // namespace

void readTraffic(const JsonPlace& root, const InterfaceReferences& references, Scenario& scenario)
{
    TrafficReader reader(references, scenario);
    forEachOf(root, "traffic", [&](const JsonPlace& place) {
        for (std::uint64_t copy = 0, copies = readCount(place); copy < copies; ++copy) {
            reader.readFlow(place, copy);
        }
    });
}

} // namespace ZunicDemo
