#include "inspect/commands/page/page_data.h"

#include "inspect/bus/bus_index.h"
#include "inspect/bus/fields.h"
#include "inspect/saved/record_json.h"

#include <algorithm>
#include <charconv>
#include <functional>
#include <iterator>
#include <nlohmann/json.hpp>
#include <unordered_map>

namespace Inspect {

namespace {

constexpr std::uint64_t cMostExact = std::uint64_t{1} << 53; ///< the largest number that is exact in JavaScript

template <typename Value>
concept Numeric = std::is_integral_v<Value> || std::is_enum_v<Value>;

/// The receiver sets, each once: most messages of a sender have the same.
class ReceiverSets
{
public:
    std::size_t placeOf(const IdSet& ids)
    {
        const auto key = std::as_bytes(ids.key());
        const std::string_view bytes(reinterpret_cast<const char*>(key.data()), key.size());
        const auto [entry, isNew] = mPlaces.try_emplace(bytes, mSets.size());
        if (isNew) {
            mSets.push_back(&ids);
        }
        return entry->second;
    }

    const std::vector<const IdSet*>& sets() const { return mSets; }

    /// The first and the last id of each run.
    static std::vector<std::uint32_t> runsOf(const IdSet* ids)
    {
        std::vector<std::uint32_t> runs;
        for (const std::uint16_t id : *ids) {
            if (!runs.empty() && runs.back() + 1 == id) {
                runs.back() = id;
            } else {
                runs.insert(runs.end(), {id, id});
            }
        }
        return runs;
    }

private:
    std::unordered_map<std::string_view, std::size_t> mPlaces; ///< by the bytes of their keys
    std::vector<const IdSet*> mSets;
};

/// Writes the text as it is made: there may be sixty thousand slots.
class Writer
{
public:
    explicit Writer(std::ostream& out) : mOut(out) {}

    void write(const BusState& state, const std::vector<Finding>& findings)
    {
        const BusIndex index(state);
        std::vector<Process> processes;
        processes.reserve(state.mCommunicators.size());
        std::ranges::transform(state.mCommunicators, std::back_inserter(processes), &Communicator::mProcess);
        object([&] {
            member("state", toJson(state));
            member("no_communicator", Channel::cNoCommunicator);
            table("interfaces", [&] {
                columns(state.mInterfaces);
                backlogColumns(state.mInterfaces,
                               [&](const Interface& interface) { return index.backlogOf(interface.mId); });
            });
            table("communicators", [&] {
                columns(state.mCommunicators);
                columns(processes);
                backlogColumns(state.mCommunicators, [&](const Communicator& communicator) {
                    return index.backlogOf(index.processes()[*index.processWithId(communicator.mProcessId)]);
                });
            });
            table("memory_managers", [&] {
                columns(state.mMemoryManagers);
                holderColumns(index.blockHolders());
            });
            member("message_storage", toJson(state.mMessages));
            table("slots", [&] { columns(state.mMessages.mSlots); });
            key("receiver_sets");
            array(mSets.sets(), ReceiverSets::runsOf);
            key("findings");
            array(findings, [](const Finding& finding) { return toJson(finding); });
        });
        mOut << mText;
    }

private:
    void value(Numeric auto number)
    {
        const auto plain = static_cast<std::uint64_t>(number);
        if (plain > cMostExact) {
            mText += '"' + std::to_string(plain) + '"';
            return;
        }
        char digits[20];
        mText.append(digits, std::to_chars(digits, digits + sizeof digits, plain).ptr);
    }

    void value(const Json& json)
    {
        for (const char character : json.dump(-1, ' ', true)) {
            if (character == '<') {
                mText += "\\u003c";
            } else {
                mText += character;
            }
        }
    }

    void value(const char* text) { value(Json(text)); }
    void value(const std::string& name) { value(nameToJson(name)); }
    void value(std::chrono::milliseconds time) { mText += std::to_string(time.count()); }
    void value(const Oxa::Version& version) { value(versionWord(version)); }
    void value(const IdSet& receivers) { value(mSets.placeOf(receivers)); }

    void value(const OxaZunic::OxaZunicRangeLocation& location)
    {
        array(std::array{location.mMemoryManagerIndex, location.mRangeIndex}, std::identity());
    }

    void value(const Channel::DataChain& chain)
    {
        object([&] {
            key("entries");
            array(chain.mEntries, &Channel::DataEntry::mIndex);
            if (chain.mEnd != Channel::ChainEnd::eWhole) {
                member("end", chainEndWord(chain.mEnd));
                member("next_index", chain.mNextIndex);
            }
        });
    }

    template <typename Value>
    void value(const std::optional<Value>& optional)
    {
        if (optional) {
            value(*optional);
        } else {
            mText += "null";
        }
    }

    template <typename Value>
    void value(const std::vector<Value>& values)
    {
        array(values, std::identity());
    }

    void value(const FunctionNames& names) { array(names, std::identity()); }

    void flush()
    {
        constexpr std::size_t cEnough = 65'536;
        if (mText.size() >= cEnough) {
            mOut << mText;
            mText.clear();
        }
    }

    /// `valueOf` each record.
    template <typename Records, typename ValueOf>
    void array(const Records& records, ValueOf valueOf)
    {
        mText += '[';
        const char* separator = "";
        for (const auto& record : records) {
            flush();
            mText += separator;
            value(std::invoke(valueOf, record));
            separator = ",";
        }
        mText += ']';
    }

    template <typename WriteMembers>
    void object(WriteMembers writeMembers)
    {
        mText += '{';
        writeMembers();
        mText += '}';
    }

    void key(std::string_view name)
    {
        mText += mText.ends_with('{') ? "\"" : ",\n\"";
        mText += name;
        mText += "\":";
    }

    template <typename Value>
    void member(std::string_view name, const Value& memberValue)
    {
        key(name);
        value(memberValue);
    }

    template <typename WriteColumns>
    void table(std::string_view name, WriteColumns writeColumns)
    {
        key(name);
        object(writeColumns);
    }

    /// A column for each field: a browser reads a few long arrays faster than sixty thousand short ones.
    template <typename Records>
    void columns(const Records& records)
    {
        forEachField<std::ranges::range_value_t<Records>>([&](const auto& field) {
            key(field.mJsonName);
            if (!field.mWords.empty()) {
                wordColumn(records, field);
            } else if (field.mPresence == Presence::eUnlessEmpty) {
                sparseColumn(records, field);
            } else {
                array(records, field.mMember);
            }
        });
    }

    /// The messages that address each record, and how many were sent since the oldest of them.
    template <typename Records, typename BacklogOf>
    void backlogColumns(const Records& records, BacklogOf backlogOf)
    {
        key("addressed");
        array(records, [&](const auto& record) { return backlogOf(record).mMessages; });
        key("oldest");
        array(records, [&](const auto& record) {
            const Backlog backlog = backlogOf(record);
            return backlog.mMessages == 0 ? std::nullopt : std::optional<std::uint32_t>(backlog.mSinceOldest);
        });
    }

    void holderColumns(const std::vector<BlockHolders>& holders)
    {
        key("function_blocks");
        array(holders, &BlockHolders::mFunctionBlocks);
        key("message_blocks");
        array(holders, &BlockHolders::mMessageBlocks);
        key("unknown_blocks");
        array(holders, &BlockHolders::mUnknownBlocks);
    }

    /// Its words by number, and a number for each record.
    template <typename Records, typename Column>
    void wordColumn(const Records& records, const Column& field)
    {
        object([&] {
            table("words", [&] {
                for (const Word& word : field.mWords) {
                    member(std::to_string(word.mNumber), word.mText);
                }
            });
            key("values");
            array(records, field.mMember);
        });
    }

    /// The records that have a value, by their place, and their values.
    template <typename Records, typename Record, typename Value>
    void sparseColumn(const Records& records, const Field<Record, Value>& field)
    {
        const Value empty = Record().*field.mMember;
        std::vector<std::size_t> rows;
        for (std::size_t row = 0; const Record& record : records) {
            if (record.*field.mMember != empty) {
                rows.push_back(row);
            }
            ++row;
        }
        object([&] {
            member("rows", rows);
            key("values");
            array(rows, [&](std::size_t row) -> const Value& { return records[row].*field.mMember; });
        });
    }

    std::ostream& mOut;
    ReceiverSets mSets;
    std::string mText; ///< that is not written yet
};

} // namespace

void writePageData(std::ostream& out, const BusState& state, const std::vector<Finding>& findings)
{
    Writer(out).write(state, findings);
}

} // namespace Inspect
