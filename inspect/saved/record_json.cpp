#include "inspect/saved/record_json.h"

#include "inspect/bus/fields.h"
#include "inspect/saved/read_json.h"

#include <limits>

namespace Inspect {

namespace {

constexpr std::uint64_t cMostTime = std::numeric_limits<std::int64_t>::max();

bool isUtf8(const std::string& bytes)
{
    try {
        return !Json(bytes).dump().empty();
    } catch (const Json::type_error&) {
        return false;
    }
}

// One pair of functions for each type that a member can have.

template <std::unsigned_integral Number>
Json valueToJson(Number number, Words words)
{
    const std::string word = words.empty() ? "" : wordFor(words, static_cast<std::uint32_t>(number));
    return numberFor(words, word) ? Json(word) : Json(number);
}

template <std::unsigned_integral Number>
void readValue(const JsonPlace& place, Words words, Number& number)
{
    if (words.empty() || !place.value().is_string()) {
        number = place.number<Number>();
        return;
    }
    const auto found = numberFor(words, place.text());
    if (!found) {
        place.expected("one of the values in the schema");
    }
    number = static_cast<Number>(*found);
}

Json valueToJson(bool value, Words /*none*/)
{
    return value;
}

void readValue(const JsonPlace& place, Words /*none*/, bool& value)
{
    value = place.boolean();
}

template <typename Enumeration>
requires std::is_enum_v<Enumeration> Json valueToJson(Enumeration value, Words words)
{
    return wordFor(words, static_cast<std::uint32_t>(value));
}

template <typename Enumeration>
requires std::is_enum_v<Enumeration>
void readValue(const JsonPlace& place, Words words, Enumeration& value)
{
    const auto number = numberFor(words, place.text());
    if (!number) {
        place.expected("one of the values in the schema");
    }
    value = static_cast<Enumeration>(*number);
}

Json valueToJson(const std::string& name, Words /*none*/)
{
    return nameToJson(name);
}

void readValue(const JsonPlace& place, Words /*none*/, std::string& name)
{
    name = place.name();
}

Json valueToJson(const FunctionNames& names, Words /*none*/)
{
    Json json = Json::array();
    for (const std::string& name : names) {
        json.push_back(nameToJson(name));
    }
    return json;
}

void readValue(const JsonPlace& place, Words /*none*/, FunctionNames& names)
{
    names =
        FunctionNames::made([&](const auto& add) { place.forEach([&](const JsonPlace& name) { add(name.name()); }); });
}

Json valueToJson(const IdSet& ids, Words /*none*/)
{
    Json json = Json::array();
    for (const std::uint16_t id : ids) {
        json.push_back(id);
    }
    return json;
}

void readValue(const JsonPlace& place, Words /*none*/, IdSet& ids)
{
    std::optional<std::uint16_t> last;
    place.forEach([&](const JsonPlace& id) {
        const auto number = id.number<std::uint16_t>();
        if (last && number <= *last) {
            id.expected("ids in ascending order, each once");
        }
        ids.append(number);
        last = number;
    });
}

Json valueToJson(const Oxa::Version& version, Words /*none*/)
{
    return {version.mMajor, version.mMinor, version.mRevision};
}

void readValue(const JsonPlace& place, Words /*none*/, Oxa::Version& version)
{
    version = readVersion(place);
}

Json valueToJson(const OxaZunic::OxaZunicRangeLocation& location, Words /*none*/)
{
    return {{"manager", location.mMemoryManagerIndex}, {"range", location.mRangeIndex}};
}

void readValue(const JsonPlace& place, Words /*none*/, OxaZunic::OxaZunicRangeLocation& location)
{
    location = {place["manager"].number<std::uint16_t>(), place["range"].number<std::uint16_t>()};
}

Json valueToJson(const Channel::DataChain& chain, Words /*none*/)
{
    Json entries = Json::array();
    for (const Channel::DataEntry& entry : chain.mEntries) {
        entries.push_back({{"slot", entry.mIndex}, {"sender", entry.mSenderId}});
    }
    Json json{{"entries", std::move(entries)}, {"end", valueToJson(chain.mEnd, cChainEndWords)}};
    if (chain.mEnd != Channel::ChainEnd::eWhole) {
        json["next_index"] = chain.mNextIndex;
    }
    return json;
}

void readValue(const JsonPlace& place, Words /*none*/, Channel::DataChain& chain)
{
    place["entries"].forEach([&](const JsonPlace& entry) {
        chain.mEntries.push_back({entry["slot"].number<std::uint32_t>(), entry["sender"].number<std::uint16_t>()});
    });
    readValue(place["end"], cChainEndWords, chain.mEnd);
    if (chain.mEnd != Channel::ChainEnd::eWhole) {
        chain.mNextIndex = place["next_index"].number<std::uint32_t>();
    }
}

Json valueToJson(const SlotTotals& totals, Words words)
{
    Json json;
    for (const auto& [state, word] : words) {
        json[word] = totals.at(state);
    }
    return json;
}

void readValue(const JsonPlace& place, Words words, SlotTotals& totals)
{
    for (const auto& [state, word] : words) {
        totals.at(state) = place[word].number<std::uint32_t>();
    }
}

template <typename Period>
Json valueToJson(std::chrono::duration<std::int64_t, Period> time, Words /*none*/)
{
    return time.count();
}

template <typename Period>
void readValue(const JsonPlace& place, Words /*none*/, std::chrono::duration<std::int64_t, Period>& time)
{
    time = std::chrono::duration<std::int64_t, Period>(place.unsignedUpTo(cMostTime));
}

Json valueToJson(WallTime time, Words /*none*/)
{
    return utcText(time);
}

void readValue(const JsonPlace& place, Words /*none*/, WallTime& time)
{
    const auto read = timeOfUtcText(place.text());
    if (!read) {
        place.expected(R"(a time such as "2026-11-23T07:52:01.123Z")");
    }
    time = *read;
}

template <typename Value>
Json valueToJson(const std::optional<Value>& value, Words words)
{
    return value ? valueToJson(*value, words) : Json();
}

template <typename Value>
void readValue(const JsonPlace& place, Words words, std::optional<Value>& value)
{
    if (!place.value().is_null()) {
        readValue(place, words, value.emplace());
    }
}

template <typename Record>
void addMembers(Json& json, const Record& record)
{
    forEachField<Record>([&](const auto& field) {
        const auto& value = record.*field.mMember;
        if (field.mPresence == Presence::eAlways || value != std::remove_cvref_t<decltype(value)>()) {
            json[field.mJsonName] = valueToJson(value, field.mWords);
        }
    });
}

template <typename Record>
void readMembers(const JsonPlace& place, Record& record)
{
    forEachField<Record>([&](const auto& field) {
        if (field.mPresence == Presence::eAlways || place.has(field.mJsonName)) {
            readValue(place[field.mJsonName], field.mWords, record.*field.mMember);
        }
    });
}

} // namespace

Json nameToJson(const std::string& bytes)
{
    if (isUtf8(bytes)) {
        return bytes;
    }
    Json numbers = Json::array();
    for (const char byte : bytes) {
        numbers.push_back(static_cast<unsigned char>(byte));
    }
    return numbers;
}

template <typename Record>
Json toJson(const Record& record)
{
    Json json;
    addMembers(json, record);
    return json;
}

Json toJson(const Communicator& communicator)
{
    Json json;
    addMembers(json, communicator);
    addMembers(json, communicator.mProcess);
    return json;
}

template <typename Record>
void readRecord(const JsonPlace& place, Record& record)
{
    readMembers(place, record);
}

void readRecord(const JsonPlace& place, Communicator& communicator)
{
    readMembers(place, communicator);
    readMembers(place, communicator.mProcess);
}

template Json toJson(const Interface& interface);
template Json toJson(const Process& process);
template Json toJson(const Channel::MemoryManagerFigures& figures);
template Json toJson(const Slot& slot);
template Json toJson(const MessageStorage& storage);
template Json toJson(const BusState& state);

template void readRecord(const JsonPlace& place, Interface& interface);
template void readRecord(const JsonPlace& place, Channel::MemoryManagerFigures& figures);
template void readRecord(const JsonPlace& place, Slot& slot);
template void readRecord(const JsonPlace& place, MessageStorage& storage);
template void readRecord(const JsonPlace& place, BusState& state);

} // namespace Inspect
