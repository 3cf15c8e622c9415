#include "inspect/bus/words.h"
#include "inspect/saved/state_json.h"

#include <iomanip>
#include <sstream>

namespace Inspect {

namespace {

/// A word where the number has one, else the number.
template <typename WordFor, typename NumberFor>
Json wordOrNumber(std::uint32_t number, WordFor wordFor, NumberFor numberFor)
{
    const std::string word = wordFor(number);
    return numberFor(word) == number ? Json(word) : Json(number);
}

Json locationToJson(const OxaZunic::OxaZunicRangeLocation& location)
{
    return {{"manager", location.mMemoryManagerIndex}, {"range", location.mRangeIndex}};
}

Json chainToJson(const Channel::DataChain& chain)
{
    Json entries = Json::array();
    for (const Channel::DataEntry& entry : chain.mEntries) {
        entries.push_back({{"slot", entry.mIndex}, {"sender", entry.mSenderId}});
    }
    Json json{{"entries", std::move(entries)}, {"end", chainEndWord(chain.mEnd)}};
    if (chain.mEnd != Channel::ChainEnd::eWhole) {
        json["next_index"] = chain.mNextIndex;
    }
    return json;
}

/// Writes `"key": [`, an element a line, and `]`.
template <typename Elements>
void writeArray(std::ostream& out, const char* key, const Elements& elements)
{
    out << Json(key) << ": [";
    const char* separator = "\n";
    for (const auto& element : elements) {
        out << separator << toJson(element);
        separator = ",\n";
    }
    out << "\n]";
}

bool isUtf8(const std::string& bytes)
{
    try {
        return !Json(bytes).dump().empty();
    } catch (const Json::type_error&) {
        return false;
    }
}

} // namespace

std::string timeText(std::chrono::milliseconds sinceEpoch)
{
    const auto seconds = std::chrono::floor<std::chrono::seconds>(sinceEpoch);
    const std::time_t time = seconds.count();
    std::tm parts{};
    gmtime_r(&time, &parts);
    std::ostringstream text;
    text << std::put_time(&parts, "%Y-%m-%dT%H:%M:%S.") << std::setfill('0') << std::setw(3)
         << (sinceEpoch - seconds).count() << 'Z';
    return text.str();
}

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

Json toJson(const Interface& interface)
{
    const Oxa::Version& version = interface.mVersion;
    Json functions;
    if (interface.mFunctions) {
        functions = Json::array();
        for (const std::string& name : *interface.mFunctions) {
            functions.push_back(nameToJson(name));
        }
    }
    return {{"id", interface.mId},
            {"name", nameToJson(interface.mName)},
            {"role", nameToJson(interface.mRole)},
            {"domain", nameToJson(interface.mDomain)},
            {"type", wordOrNumber(interface.mType, typeWord, typeOf)},
            {"version", {version.mMajor, version.mMinor, version.mRevision}},
            {"communicator", interface.mCommunicatorId},
            {"state", wordOrNumber(interface.mState, stateWord, stateOf)},
            {"function_storage", locationToJson(interface.mFunctionStorage)},
            {"functions", std::move(functions)},
            {"receivers", interface.mReceivers}};
}

Json toJson(const Communicator& communicator)
{
    const Process& process = communicator.mProcess;
    return {{"id", communicator.mId},
            {"pid", communicator.mProcessId},
            {"state", wordOrNumber(communicator.mState, stateWord, stateOf)},
            {"application", process.mApplication ? nameToJson(*process.mApplication) : Json()},
            {"started_ms_after_boot", process.mStartedAfterBoot ? Json(process.mStartedAfterBoot->count()) : Json()},
            {"living", livingWord(process.mLiving)}};
}

Json toJson(const Channel::MemoryManagerFigures& figures)
{
    return {{"block_size", figures.mBlockSize},
            {"initial_blocks", figures.mInitialBlocks},
            {"additional_blocks", figures.mAdditionalBlocks},
            {"total_blocks", figures.mTotalBlocks},
            {"used_blocks", figures.mUsedBlocks}};
}

Json toJson(const Slot& slot)
{
    Json json{{"index", slot.mIndex},
              {"state", slotStateWord(slot.mState)},
              {"sender", slot.mSenderId},
              {"writer_counter", slot.mWriterCounter},
              {"user_data_size", slot.mUserDataSize},
              {"receivers", slot.mReceivers}};
    if (slot.mChain != Channel::DataChain()) {
        json["chain"] = chainToJson(slot.mChain);
    }
    if (slot.mExternal) {
        json["external"] = locationToJson(*slot.mExternal);
    }
    return json;
}

Json toJson(const MessageStorage& storage)
{
    const SlotTotals& totals = storage.mTotals;
    return {{"size", storage.mSize},
            {"readable", storage.mReadable},
            {"last_written_index", storage.mLastWrittenIndex},
            {"writer_counter", storage.mWriterCounter},
            {"totals",
             {{"free", totals.mFree},
              {"reserved", totals.mReserved},
              {"written", totals.mWritten},
              {"message", totals.mMessage},
              {"data", totals.mData}}}};
}

void writeState(std::ostream& out, const BusState& state)
{
    const Json head{{"schema", cStateSchema},
                    {"channel", nameToJson(state.mChannel)},
                    {"taken_at", timeText(state.mTakenAt)},
                    {"boot_id", nameToJson(state.mBootId)},
                    {"program_version", nameToJson(state.mProgramVersion)},
                    {"mutex_held_ns", state.mMutexHeld.count()}};
    out << "{\n";
    for (const auto& [key, value] : head.items()) {
        out << Json(key) << ": " << value << ",\n";
    }
    writeArray(out, "interfaces", state.mInterfaces);
    writeArray(out << ",\n", "communicators", state.mCommunicators);
    writeArray(out << ",\n", "memory_managers", state.mMemoryManagers);
    out << ",\n" << Json("message_storage") << ": {\n";
    const Json storage = toJson(state.mMessages);
    for (const auto& [key, value] : storage.items()) {
        out << Json(key) << ": " << value << ",\n";
    }
    writeArray(out, "slots", state.mMessages.mSlots);
    out << "\n}\n}\n";
}

} // namespace Inspect
