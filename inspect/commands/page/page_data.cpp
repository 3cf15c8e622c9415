#include "inspect/commands/page/page_data.h"

#include "inspect/bus/words.h"
#include "inspect/saved/record_json.h"

#include <charconv>
#include <nlohmann/json.hpp>
#include <unordered_map>

namespace Inspect {

namespace {

constexpr std::uint64_t cMostExact = std::uint64_t{1} << 53; ///< as far as JavaScript's numbers count

/// Makes JSON without a tree of values in memory: there may be sixty thousand slots.
class Text
{
public:
    void raw(std::string_view text) { mText += text; }

    void number(std::uint64_t number)
    {
        if (number > cMostExact) {
            mText += '"' + std::to_string(number) + '"';
            return;
        }
        char digits[20];
        mText.append(digits, std::to_chars(digits, digits + sizeof digits, number).ptr);
    }

    /// Of any bytes.
    void name(const std::string& bytes)
    {
        for (const char character : nameToJson(bytes).dump(-1, ' ', true)) {
            if (character == '<') {
                mText += "\\u003c";
            } else {
                mText += character;
            }
        }
    }

    /// `[`, what `write` makes of each element, and `]`.
    template <typename Elements, typename Write>
    void array(const Elements& elements, Write write)
    {
        mText += '[';
        const char* separator = "";
        for (const auto& element : elements) {
            mText += separator;
            write(element);
            separator = ",";
        }
        mText += ']';
    }

    void numbers(std::initializer_list<std::uint64_t> elements)
    {
        array(elements, [this](std::uint64_t element) { number(element); });
    }

    std::string take() { return std::move(mText); }

private:
    std::string mText;
};

/// The receiver sets, each once: most messages of a sender have the same.
class ReceiverSets
{
public:
    std::size_t placeOf(const IdSet& ids)
    {
        const std::string_view bytes(reinterpret_cast<const char*>(ids.data()), ids.size() * sizeof(IdSet::value_type));
        const auto [entry, isNew] = mPlaces.try_emplace(bytes, mSets.size());
        if (isNew) {
            mSets.push_back(&ids);
        }
        return entry->second;
    }

    /// As runs: the first and the last id of each.
    void write(Text& text) const
    {
        text.array(mSets,
                   [&](const IdSet* ids) { text.array(runsOf(*ids), [&](std::uint16_t id) { text.number(id); }); });
    }

private:
    static IdSet runsOf(const IdSet& ids)
    {
        IdSet runs;
        for (const std::uint16_t id : ids) {
            if (!runs.empty() && runs.back() + 1 == id) {
                runs.back() = id;
            } else {
                runs.insert(runs.end(), {id, id});
            }
        }
        return runs;
    }

    std::unordered_map<std::string_view, std::size_t> mPlaces; ///< by the bytes of the ids
    std::vector<const IdSet*> mSets;
};

class Writer
{
public:
    Writer(const BusState& state, const std::vector<Finding>& findings) : mState(state), mFindings(findings) {}

    std::string write()
    {
        writeHead();
        key("interfaces");
        mText.array(mState.mInterfaces, [this](const Interface& interface) { writeInterface(interface); });
        key("communicators");
        mText.array(mState.mCommunicators,
                    [this](const Communicator& communicator) { writeCommunicator(communicator); });
        key("memory");
        mText.array(mState.mMemoryManagers, [this](const Channel::MemoryManagerFigures& figures) {
            mText.numbers({figures.mBlockSize, figures.mInitialBlocks, figures.mAdditionalBlocks, figures.mTotalBlocks,
                           figures.mUsedBlocks});
        });
        writeMessages();
        key("sets");
        mSets.write(mText);
        key("findings");
        mText.array(mFindings, [this](const Finding& finding) { writeFinding(finding); });
        mText.raw("}");
        return mText.take();
    }

private:
    void key(const char* name)
    {
        mText.raw(",\n\"");
        mText.raw(name);
        mText.raw("\":");
    }

    void writeHead()
    {
        mText.raw("{\"channel\":");
        mText.name(mState.mChannel);
        key("taken");
        mText.raw(std::to_string(mState.mTakenAt.time_since_epoch().count()));
        key("boot");
        mText.name(mState.mBootId);
        key("version");
        mText.name(mState.mProgramVersion);
    }

    void writeInterface(const Interface& interface)
    {
        const auto separated = [this](const std::string& name) {
            mText.raw(",");
            mText.name(name);
        };
        mText.raw("[");
        mText.number(interface.mId);
        separated(interface.mName);
        separated(interface.mRole);
        separated(interface.mDomain);
        separated(typeWord(interface.mType));
        separated(versionWord(interface.mVersion));
        separated(stateWord(interface.mState));
        mText.raw(",");
        mText.numbers({interface.mCommunicatorId, interface.mFunctionStorage.mMemoryManagerIndex,
                       interface.mFunctionStorage.mRangeIndex, mSets.placeOf(interface.mReceivers)});
        mText.raw(",");
        if (interface.mFunctions) {
            mText.array(*interface.mFunctions, [this](const std::string& name) { mText.name(name); });
        } else {
            mText.raw("null");
        }
        mText.raw("]");
    }

    void writeCommunicator(const Communicator& communicator)
    {
        const Process& process = communicator.mProcess;
        mText.raw("[");
        mText.number(communicator.mId);
        mText.raw(",");
        mText.number(communicator.mProcessId);
        mText.raw(",");
        mText.name(stateWord(communicator.mState));
        mText.raw(",");
        process.mApplication ? mText.name(*process.mApplication) : mText.raw("null");
        mText.raw(",");
        mText.raw(process.mStartedAfterBoot ? std::to_string(process.mStartedAfterBoot->count()) : "null");
        mText.raw(",\"" + livingWord(process.mLiving) + "\"]");
    }

    /// Column by column: a browser reads six long arrays of numbers faster than sixty thousand short ones.
    template <typename NumberOf>
    void writeColumn(const char* name, NumberOf numberOf)
    {
        key(name);
        mText.array(mState.mMessages.mSlots, [&](const Slot& slot) { mText.number(numberOf(slot)); });
    }

    void writeMessages()
    {
        const MessageStorage& storage = mState.mMessages;
        key("storage");
        mText.numbers({storage.mSize, storage.mReadable, storage.mLastWrittenIndex, storage.mWriterCounter});
        writeColumn("slotIndex", [](const Slot& slot) { return slot.mIndex; });
        writeColumn("slotState", [](const Slot& slot) { return static_cast<std::uint64_t>(slot.mState); });
        writeColumn("slotSender", [](const Slot& slot) { return slot.mSenderId; });
        writeColumn("slotCounter", [](const Slot& slot) { return slot.mWriterCounter; });
        writeColumn("slotSize", [](const Slot& slot) { return slot.mUserDataSize; });
        writeColumn("slotSet", [this](const Slot& slot) { return mSets.placeOf(slot.mReceivers); });
        writeData();
    }

    /// Of the slots that have any: the place of the slot among those written, and what it has.
    void writeData()
    {
        std::vector<std::pair<std::size_t, const Slot*>> chains;
        std::vector<std::pair<std::size_t, const Slot*>> externals;
        for (std::size_t place = 0; const Slot& slot : mState.mMessages.mSlots) {
            if (slot.mChain != Channel::DataChain()) {
                chains.emplace_back(place, &slot);
            }
            if (slot.mExternal) {
                externals.emplace_back(place, &slot);
            }
            ++place;
        }
        key("chains");
        mText.array(chains, [this](const auto& chain) { writeChain(chain.first, chain.second->mChain); });
        key("externals");
        mText.array(externals, [this](const auto& external) {
            const auto& location = *external.second->mExternal;
            mText.numbers({external.first, location.mMemoryManagerIndex, location.mRangeIndex});
        });
    }

    void writeChain(std::size_t place, const Channel::DataChain& chain)
    {
        mText.raw("[");
        mText.number(place);
        mText.raw(",\"" + chainEndWord(chain.mEnd) + "\",");
        mText.number(chain.mNextIndex);
        for (const Channel::DataEntry& entry : chain.mEntries) {
            mText.raw(",");
            mText.number(entry.mIndex);
        }
        mText.raw("]");
    }

    void writeFinding(const Finding& finding)
    {
        mText.raw("[");
        mText.number(static_cast<std::uint64_t>(finding.mSeverity));
        mText.raw(",\"" + std::string(finding.mKind->mCode) + "\",");
        mText.number(static_cast<std::uint64_t>(finding.mSubject.mKind));
        mText.raw(",");
        mText.number(finding.mSubject.mId);
        for (const std::string& text :
             {finding.mSubject.mName, finding.mEvidence, std::string(finding.mKind->mAdvice)}) {
            mText.raw(",");
            mText.name(text);
        }
        mText.raw("]");
    }

    const BusState& mState;
    const std::vector<Finding>& mFindings;
    ReceiverSets mSets;
    Text mText;
};

} // namespace

std::string pageData(const BusState& state, const std::vector<Finding>& findings)
{
    return Writer(state, findings).write();
}

} // namespace Inspect
