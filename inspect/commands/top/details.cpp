#include "inspect/commands/top/details.h"

#include "inspect/bus/bus_index.h"
#include "inspect/bus/words.h"
#include "inspect/commands/top/text_fit.h"
#include "inspect/view/cells.h"
#include "inspect/view/interface_tree.h"

#include <algorithm>

namespace Inspect {

namespace {

using Lines = std::vector<std::string>;

constexpr std::size_t cNameWidth = 15;

void append(Lines& lines, const char* what, const std::string& table)
{
    if (!table.empty()) {
        lines.insert(lines.end(), {"", what});
        std::ranges::move(linesOf(table), std::back_inserter(lines));
    }
}

/// The whole of each cell, one below the other.
Lines valueLines(const TableView& view, std::size_t width)
{
    Lines lines;
    for (const auto& [column, cell] : view.chosenCells()) {
        std::string name = column.mName;
        for (const std::string& part : brokenInto(shownText(cell), width - cNameWidth)) {
            lines.push_back(fitted(name, cNameWidth) + part);
            name.clear();
        }
    }
    return lines;
}

Lines interfaceLines(std::uint32_t id, const BusState& state)
{
    const BusIndex index(state);
    std::string trees;
    for (const Interface& interface : index.interfacesWithId(static_cast<std::uint16_t>(id))) {
        trees += interfaceTree(interface, index, {});
    }
    return linesOf(trees);
}

void appendProcess(Lines& lines, std::uint32_t processId, const BusState& state)
{
    const BusIndex index(state);
    InterfaceFilter filter;
    filter.mOwner.mProcessId = processId;
    append(lines, "Interfaces:", listTable(cInterfaceList, index, filter));
    append(lines, "Communicators:", listTable(cCommunicatorList, index, filter));
}

/// Its receivers by name, and the slots of its chain.
void appendSlot(Lines& lines, std::uint32_t index, const BusState& state)
{
    const std::vector<Slot>& all = state.mMessages.mSlots;
    const auto slot = std::ranges::lower_bound(all, index, {}, &Slot::mIndex);
    if (slot == all.end() || slot->mIndex != index) {
        return;
    }
    Table receivers({{"ID", ColumnKind::eNumber}, {"NAME"}, {"ROLE"}}, {});
    for (const std::uint16_t id : slot->mReceivers) {
        const auto receiver = std::ranges::lower_bound(state.mInterfaces, id, {}, &Interface::mId);
        const bool isThere = receiver != state.mInterfaces.end() && receiver->mId == id;
        receivers.addLine({numberCell(id), isThere ? Cell{receiver->mName} : Cell{"missing", nullptr, Text::eOwn},
                           isThere ? Cell{receiver->mRole} : Cell{}});
    }
    append(lines, "Receivers:", slot->mReceivers.empty() ? "" : receivers.text());
    Table chain({{"SLOT", ColumnKind::eNumber}, {"STATE", ColumnKind::eWord}, {"SENDER", ColumnKind::eNumber}}, {});
    for (const Channel::DataEntry& entry : slot->mChain.mEntries) {
        chain.addLine(
            {numberCell(entry.mIndex), Cell{slotStateWord(Channel::eSlotStateData)}, numberCell(entry.mSenderId)});
    }
    if (slot->mChain.mEnd != Channel::ChainEnd::eWhole) {
        chain.addLine({numberCell(slot->mChain.mNextIndex), Cell{chainEndWord(slot->mChain.mEnd)}, Cell{}});
    }
    const bool hasChain = !slot->mChain.mEntries.empty() || slot->mChain.mEnd != Channel::ChainEnd::eWhole;
    append(lines, "Chain:", hasChain ? chain.text() : "");
}

} // namespace

Lines detailLines(const TableView& view, const BusState& state, std::size_t width)
{
    const std::uint32_t key = view.chosen().value();
    if (&view.kind() == &cInterfaceList) {
        return interfaceLines(key, state);
    }
    Lines lines = valueLines(view, width);
    if (&view.kind() == &cProcessList) {
        appendProcess(lines, key, state);
    } else if (&view.kind() == &cMessageList) {
        appendSlot(lines, key, state);
    }
    return lines;
}

} // namespace Inspect
