#include "inspect/bus/words.h"
#include "inspect/saved/read_json.h"
#include "inspect/saved/state_json.h"

#include <algorithm>
#include <cstdio>
#include <limits>

namespace Inspect {

namespace {

constexpr std::uint64_t cMostTime = std::numeric_limits<std::int64_t>::max();

/// The number of a word, or the number itself.
template <typename NumberFor>
std::uint32_t wordOrNumber(const JsonPlace& place, NumberFor numberFor)
{
    if (!place.value().is_string()) {
        return place.number<std::uint32_t>();
    }
    const std::optional<std::uint32_t> number = numberFor(place.text());
    if (!number) {
        place.expected("a word that the schema has");
    }
    return *number;
}

/// The one of the first `count` enumerators, from `first` on, whose word stands there.
template <typename Enumeration, typename WordFor>
Enumeration enumerator(const JsonPlace& place, unsigned first, unsigned count, WordFor wordFor)
{
    const std::string word = place.text();
    for (unsigned i = first; i < count; ++i) {
        if (wordFor(static_cast<Enumeration>(i)) == word) {
            return static_cast<Enumeration>(i);
        }
    }
    place.expected("a word that the schema has");
}

IdSet readIds(const JsonPlace& place)
{
    IdSet ids;
    ids.reserve(place.value().size());
    place.forEach([&](const JsonPlace& id) {
        ids.push_back(id.number<std::uint16_t>());
        if (ids.size() > 1 && ids.back() <= ids[ids.size() - 2]) {
            id.expected("ids in ascending order, each once");
        }
    });
    return ids;
}

OxaZunic::OxaZunicRangeLocation readLocation(const JsonPlace& place)
{
    return {place["manager"].number<std::uint16_t>(), place["range"].number<std::uint16_t>()};
}

Interface readInterface(const JsonPlace& place)
{
    Interface interface {
        .mId = place["id"].number<std::uint16_t>(), .mName = place["name"].name(), .mRole = place["role"].name(),
        .mDomain = place["domain"].name(), .mType = wordOrNumber(place["type"], typeOf),
        .mVersion = readVersion(place["version"]), .mCommunicatorId = place["communicator"].number<std::uint16_t>(),
        .mState = wordOrNumber(place["state"], stateOf), .mFunctionStorage = readLocation(place["function_storage"]),
        .mFunctions = {}, .mReceivers = readIds(place["receivers"])
    };
    if (const JsonPlace functions = place["functions"]; !functions.value().is_null()) {
        interface.mFunctions.emplace();
        functions.forEach([&](const JsonPlace& name) { interface.mFunctions->push_back(name.name()); });
    }
    return interface;
}

Communicator readCommunicator(const JsonPlace& place)
{
    Communicator communicator{place["id"].number<std::uint16_t>(),
                              place["pid"].number<std::uint32_t>(),
                              wordOrNumber(place["state"], stateOf),
                              {}};
    Process& process = communicator.mProcess;
    if (const JsonPlace application = place["application"]; !application.value().is_null()) {
        process.mApplication = application.name();
    }
    if (const JsonPlace started = place["started_ms_after_boot"]; !started.value().is_null()) {
        process.mStartedAfterBoot = std::chrono::milliseconds(started.unsignedUpTo(cMostTime));
    }
    process.mLiving = enumerator<Living>(place["living"], 0, 3, livingWord);
    return communicator;
}

Channel::MemoryManagerFigures readFigures(const JsonPlace& place)
{
    return {place["block_size"].number<std::uint64_t>(), place["initial_blocks"].number<std::uint64_t>(),
            place["additional_blocks"].number<std::uint64_t>(), place["total_blocks"].number<std::uint64_t>(),
            place["used_blocks"].number<std::uint64_t>()};
}

Channel::DataChain readChain(const JsonPlace& place)
{
    Channel::DataChain chain;
    place["entries"].forEach([&](const JsonPlace& entry) {
        chain.mEntries.push_back({entry["slot"].number<std::uint32_t>(), entry["sender"].number<std::uint16_t>()});
    });
    chain.mEnd = enumerator<Channel::ChainEnd>(place["end"], 0, 5, chainEndWord);
    if (chain.mEnd != Channel::ChainEnd::eWhole) {
        chain.mNextIndex = place["next_index"].number<std::uint32_t>();
    }
    return chain;
}

Slot readSlot(const JsonPlace& place)
{
    Slot slot{.mIndex = place["index"].number<std::uint32_t>(),
              .mState = enumerator<Channel::SlotState>(place["state"], 1, Channel::cSlotStates, slotStateWord),
              .mSenderId = place["sender"].number<std::uint16_t>(),
              .mWriterCounter = place["writer_counter"].number<std::uint16_t>(),
              .mUserDataSize = place["user_data_size"].number<std::uint32_t>(),
              .mReceivers = readIds(place["receivers"]),
              .mChain = {},
              .mExternal = {}};
    if (place.has("chain")) {
        slot.mChain = readChain(place["chain"]);
    }
    if (place.has("external")) {
        slot.mExternal = readLocation(place["external"]);
    }
    return slot;
}

MessageStorage readMessages(const JsonPlace& place)
{
    const JsonPlace totals = place["totals"];
    MessageStorage messages{place["size"].number<std::uint32_t>(),
                            place["readable"].number<std::uint32_t>(),
                            place["last_written_index"].number<std::uint32_t>(),
                            place["writer_counter"].number<std::uint16_t>(),
                            {totals["free"].number<std::uint32_t>(), totals["reserved"].number<std::uint32_t>(),
                             totals["written"].number<std::uint32_t>(), totals["message"].number<std::uint32_t>(),
                             totals["data"].number<std::uint32_t>()},
                            {}};
    place["slots"].forEach([&](const JsonPlace& slot) {
        messages.mSlots.push_back(readSlot(slot));
        const std::size_t count = messages.mSlots.size();
        if (count > 1 && messages.mSlots[count - 1].mIndex <= messages.mSlots[count - 2].mIndex) {
            slot["index"].expected("indices in ascending order, each once");
        }
    });
    return messages;
}

std::chrono::milliseconds readTime(const JsonPlace& place)
{
    const std::string text = place.text();
    std::tm parts{};
    int milliseconds = 0;
    int length = 0;
    std::sscanf(text.c_str(), "%4d-%2d-%2dT%2d:%2d:%2d.%3dZ%n", &parts.tm_year, &parts.tm_mon, &parts.tm_mday,
                &parts.tm_hour, &parts.tm_min, &parts.tm_sec, &milliseconds, &length);
    if (length == 0 || static_cast<std::size_t>(length) != text.size()) {
        place.expected(R"(a time such as "2026-11-23T07:52:01.123Z")");
    }
    parts.tm_year -= 1900;
    parts.tm_mon -= 1;
    return std::chrono::seconds(timegm(&parts)) + std::chrono::milliseconds(milliseconds);
}

BusState readDocument(const JsonPlace& document)
{
    const JsonPlace schema = document["schema"];
    if (schema.text() != cStateSchema) {
        schema.expected("the schema \"" + std::string(cStateSchema) + "\"");
    }
    BusState state;
    state.mChannel = document["channel"].name();
    state.mTakenAt = readTime(document["taken_at"]);
    state.mBootId = document["boot_id"].name();
    state.mProgramVersion = document["program_version"].name();
    state.mMutexHeld = std::chrono::nanoseconds(document["mutex_held_ns"].unsignedUpTo(cMostTime));
    document["interfaces"].forEach([&](const JsonPlace& place) {
        state.mInterfaces.push_back(readInterface(place));
        const std::size_t count = state.mInterfaces.size();
        if (count > 1 && state.mInterfaces[count - 1].mId < state.mInterfaces[count - 2].mId) {
            place["id"].expected("ids in ascending order");
        }
    });
    document["communicators"].forEach(
        [&](const JsonPlace& place) { state.mCommunicators.push_back(readCommunicator(place)); });
    document["memory_managers"].forEach(
        [&](const JsonPlace& place) { state.mMemoryManagers.push_back(readFigures(place)); });
    state.mMessages = readMessages(document["message_storage"]);
    return state;
}

} // namespace

BusState readState(std::istream& in)
{
    BusState state;
    readJson(in, [&](const JsonPlace& document) { state = readDocument(document); });
    return state;
}

} // namespace Inspect
