#include "inspect/saved/state_json.h"

#include "inspect/saved/json_text.h"
#include "inspect/saved/read_json.h"
#include "inspect/saved/record_json.h"

namespace Inspect {

namespace {

/// Writes the members of an object, one a line, each with a comma behind it.
void writeMembers(std::ostream& out, const Json& object)
{
    for (const auto& [key, value] : object.items()) {
        out << jsonText(key) << ": " << jsonText(value) << ",\n";
    }
}

/// Writes `"key": [`, a record a line, and `]`.
template <typename Records>
void writeRecords(std::ostream& out, const char* key, const Records& records)
{
    out << jsonText(key) << ": [";
    const char* separator = "\n";
    for (const auto& record : records) {
        out << separator << jsonText(toJson(record));
        separator = ",\n";
    }
    out << "\n]";
}

/// Reads the records one by one; `check` is called after each, with its place.
template <typename Record, typename Check>
void readRecords(const JsonPlace& place, std::vector<Record>& records, Check check)
{
    records.reserve(place.value().size());
    place.forEach([&](const JsonPlace& record) {
        readRecord(record, records.emplace_back());
        check(record);
    });
}

BusState readDocument(const JsonPlace& document)
{
    if (const JsonPlace schema = document["schema"]; schema.text() != cStateSchema) {
        schema.expected("the schema \"" + std::string(cStateSchema) + "\"");
    }
    BusState state;
    readRecord(document, state);
    std::vector<Interface>& interfaces = state.mInterfaces;
    readRecords(document["interfaces"], interfaces, [&](const JsonPlace& place) {
        if (interfaces.size() > 1 && interfaces.back().mId < interfaces[interfaces.size() - 2].mId) {
            place["id"].expected("ids in ascending order");
        }
    });
    readRecords(document["communicators"], state.mCommunicators, [](const JsonPlace&) {});
    readRecords(document["memory_managers"], state.mMemoryManagers, [](const JsonPlace&) {});
    const JsonPlace storage = document["message_storage"];
    readRecord(storage, state.mMessages);
    std::vector<Slot>& slots = state.mMessages.mSlots;
    readRecords(storage["slots"], slots, [&](const JsonPlace& place) {
        if (slots.size() > 1 && slots.back().mIndex <= slots[slots.size() - 2].mIndex) {
            place["index"].expected("indices in ascending order, each once");
        }
    });
    return state;
}

} // namespace

void writeState(std::ostream& out, const BusState& state)
{
    out << "{\n\"schema\": " << jsonText(cStateSchema) << ",\n";
    writeMembers(out, toJson(state));
    writeRecords(out, "interfaces", state.mInterfaces);
    writeRecords(out << ",\n", "communicators", state.mCommunicators);
    writeRecords(out << ",\n", "memory_managers", state.mMemoryManagers);
    out << ",\n\"message_storage\": {\n";
    writeMembers(out, toJson(state.mMessages));
    writeRecords(out, "slots", state.mMessages.mSlots);
    out << "\n}\n}\n";
}

BusState readState(std::istream& in)
{
    BusState state;
    readJson(in, [&](const JsonPlace& document) { state = readDocument(document); });
    return state;
}

} // namespace Inspect
