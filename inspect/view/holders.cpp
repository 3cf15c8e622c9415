#include "inspect/view/holders.h"

#include "inspect/view/cells.h"

#include <algorithm>
#include <map>

namespace Inspect {

namespace {

const std::vector<Heading> cHeadings{
    {"BLOCK", ColumnKind::eNumber},
    {"HOLDS", ColumnKind::eWord},
    {"SLOT", ColumnKind::eNumber},
    {"ID", ColumnKind::eNumber},
    {"NAME"},
    {"ROLE"},
    {"PID", ColumnKind::eNumber},
    {"LIVING", ColumnKind::eWord},
    {"APP"},
    {"RECEIVERS", ColumnKind::eList},
};

/// Of those that hold data of messages, by sender; of a block with several messages, the first one counts.
std::map<std::uint16_t, std::uint64_t> blocksBySender(const BlockHolders& holders)
{
    std::map<std::uint16_t, std::uint64_t> blocks;
    const BlockReference* before = nullptr;
    for (const BlockReference& reference : holders.mReferences) {
        if (reference.mSlot != nullptr && (before == nullptr || before->mRange != reference.mRange)) {
            ++blocks[reference.mSlot->mSenderId];
        }
        before = &reference;
    }
    return blocks;
}

std::vector<Cell> cellsOf(const BlockReference& reference, const BusIndex& index, ListLength length)
{
    const Slot* const slot = reference.mSlot;
    const Interface* const interface = slot == nullptr ? reference.mInterface : index.interfaceWithId(slot->mSenderId);
    const Communicator* const owner = interface == nullptr ? nullptr : index.ownerOf(*interface);
    return {numberCell(reference.mRange),
            Cell{slot == nullptr ? "functions" : slotStateWord(slot->mState)},
            slot == nullptr ? Cell{} : numberCell(slot->mIndex),
            numberCell(slot == nullptr ? interface->mId : slot->mSenderId),
            Cell{interface == nullptr ? "" : interface->mName},
            Cell{interface == nullptr ? "" : interface->mRole},
            processIdCell(owner),
            livingCell(owner),
            applicationCell(owner),
            slot == nullptr ? Cell{} : cellOf(slot->mReceivers, {}, length)};
}

} // namespace

std::string holdersText(const BlockHolders& holders)
{
    const auto senders = blocksBySender(holders);
    const auto most = std::ranges::max_element(senders, {}, [](const auto& sender) { return sender.second; });
    const std::string ofSender = most == senders.end() ? ""
                                                       : " (" + std::to_string(most->second) + " from sender " +
                                                             std::to_string(most->first) + ")";
    return "functions " + std::to_string(holders.mFunctionBlocks) + ", messages " +
           std::to_string(holders.mMessageBlocks) + ofSender + ", unknown " + std::to_string(holders.mUnknownBlocks);
}

std::string holdersTable(std::size_t manager, const BusIndex& index, const TableStyle& style)
{
    const BlockHolders& holders = index.blockHolders()[manager];
    const Channel::MemoryManagerFigures& figures = index.state().mMemoryManagers[manager];
    Table table(cHeadings, style);
    for (const BlockReference& reference : holders.mReferences) {
        table.addLine(cellsOf(reference, index, style.mIsWhole ? ListLength::eWhole : ListLength::eShort));
    }
    return (holders.mReferences.empty() ? "" : table.text()) + std::to_string(figures.mUsedBlocks) + " of " +
           std::to_string(figures.mTotalBlocks) + " blocks of " + std::to_string(figures.mBlockSize) +
           " bytes in use: " + holdersText(holders) + "\n";
}

} // namespace Inspect
