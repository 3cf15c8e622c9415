#include "inspect/bus/relations.h"
#include "inspect/bus/words.h"
#include "inspect/commands/list/listing.h"
#include "inspect/view/cells.h"

namespace Inspect {

namespace {

struct MessageList
{
    struct Row
    {
        const Slot& mSlot;
        const Interface* mSender; ///< null when no interface in use has that id
    };

    static constexpr auto cWord = "messages";
    static constexpr auto cOne = "message slot";
    static constexpr Wanted cWanted{.mMessages = true};
    static constexpr Wanted cWantedForJson{};
    static const std::vector<Column<Row>> cColumns;

    static std::vector<Row> rows(const BusState& state, const InterfaceFilter&)
    {
        std::unordered_map<std::uint16_t, const Interface*> interfaces;
        for (const Interface& interface : state.mInterfaces) {
            interfaces.try_emplace(interface.mId, &interface);
        }
        std::vector<Row> rows;
        for (const Slot& slot : state.mMessages.mSlots) {
            const auto sender = interfaces.find(slot.mSenderId);
            rows.push_back({slot, sender == interfaces.end() ? nullptr : sender->second});
        }
        return rows;
    }

    static std::uint32_t key(const Row& row) { return row.mSlot.mIndex; }
    static Json json(const Row& row) { return toJson(row.mSlot); }
};

using Row = MessageList::Row;

Cell chainCell(const Row& row)
{
    std::string text;
    for (const Channel::DataEntry& entry : row.mSlot.mChain.mEntries) {
        appendListed(text, entry.mIndex);
    }
    return {text};
}

Cell externalCell(const Row& row)
{
    const auto& external = row.mSlot.mExternal;
    return external ? Cell{std::to_string(external->mMemoryManagerIndex) + "/" + std::to_string(external->mRangeIndex)}
                    : Cell{};
}

Cell faultCell(const Row& row)
{
    const Channel::DataChain& chain = row.mSlot.mChain;
    return chain.mEnd == Channel::ChainEnd::eWhole
               ? Cell{}
               : Cell{chainEndWord(chain.mEnd) + ":" + std::to_string(chain.mNextIndex), cBadColor};
}

const std::vector<Column<Row>> MessageList::cColumns{
    {{"SLOT", "index of the slot", Kind::eNumber}, [](const Row& row) { return numberCell(row.mSlot.mIndex); }},
    {{"STATE", "reserved, written (being filled), message (there to be read) or data (of a message's chain)",
      Kind::eWord},
     [](const Row& row) { return Cell{slotStateWord(row.mSlot.mState)}; }},
    {{"COUNTER", "writer counter", Kind::eNumber}, [](const Row& row) { return numberCell(row.mSlot.mWriterCounter); }},
    {{"SIZE", "size of the user data", Kind::eNumber},
     [](const Row& row) { return numberCell(row.mSlot.mUserDataSize); }},
    {{"SENDER", "id of the sending interface", Kind::eNumber},
     [](const Row& row) { return numberCell(row.mSlot.mSenderId); }},
    {{"NAME", "its name"}, [](const Row& row) { return row.mSender == nullptr ? Cell{} : Cell{row.mSender->mName}; }},
    {{"ROLE", "its role", Kind::eText, Shown::eOnRequest},
     [](const Row& row) { return row.mSender == nullptr ? Cell{} : Cell{row.mSender->mRole}; }},
    {{"RECEIVERS", "ids of the receiving interfaces"}, [](const Row& row) { return idsCell(row.mSlot.mReceivers); }},
    {{"DATA", "slots with its data entries, in their order"}, chainCell},
    {{"EXTERNAL", "memory manager and block of its external data entry"}, externalCell},
    {{"FAULT", "what ends its data entries before their time, and at which slot"}, faultCell},
};

} // namespace

const ListKind cMessageList = kindOf<MessageList>(Filters::eNone);

} // namespace Inspect
