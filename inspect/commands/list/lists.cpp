#include "inspect/commands/list/lists.h"

#include "inspect/bus/fields.h"
#include "inspect/view/cells.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <sstream>
#include <unordered_map>
#include <utility>

namespace Inspect {

namespace {

constexpr Wanted cProcesses{.mProcesses = true};
constexpr Wanted cFunctions{.mFunctions = true};
constexpr Wanted cMessages{.mMessages = true};
constexpr Wanted cHolders = cFunctions | cMessages;

/// The column of a member, headed and shown as the field table has it.
template <typename Record, typename Value>
Column column(Value Record::*member, const char* meaning, Shown shown = Shown::eAlways, Wanted wanted = {})
{
    const Field<Record, Value> field = fieldOf(member);
    const auto cell = [field](const ListRow& row, ListLength length) {
        const Record* const record = row.record<Record>();
        return record == nullptr ? Cell{} : cellOf(record->*field.mMember, field.mWords, length);
    };
    return {field.mTitle, meaning, columnKindOf(Value(), field.mWords), cell, shown, wanted};
}

std::vector<ListRow> interfaceRows(const BusIndex& index, const InterfaceFilter& filter)
{
    std::vector<ListRow> rows;
    for (const Interface& interface : index.state().mInterfaces) {
        if (const Communicator* const owner = index.ownerOf(interface); filter.fits(interface, owner)) {
            const Process* const process = owner == nullptr ? nullptr : &owner->mProcess;
            rows.push_back({interface.mId, &index, {&interface, owner, process, {}, {}, {}}});
        }
    }
    return rows;
}

Cell communicatorIdCell(const ListRow& row)
{
    const std::uint16_t id = row.record<Interface>()->mCommunicatorId;
    return id == Channel::cNoCommunicator ? Cell{} : numberCell(id);
}

Cell functionCountCell(const ListRow& row)
{
    const auto& functions = row.record<Interface>()->mFunctions;
    return functions ? numberCell(functions->size()) : Cell{};
}

Cell receiverCountCell(const ListRow& row)
{
    return numberCell(row.record<Interface>()->mReceivers.size());
}

const Backlog& backlogOf(const ListRow& row)
{
    return row.mIndex->backlogOf(row.record<Interface>()->mId);
}

Cell addressedCell(const ListRow& row)
{
    return numberCell(backlogOf(row).mMessages);
}

Cell oldestCell(const ListRow& row)
{
    return backlogOf(row).mMessages == 0 ? Cell{} : numberCell(backlogOf(row).mSinceOldest);
}

const std::vector<Column> cInterfaceColumns{
    column(&Interface::mId, "id of the interface"),
    column(&Interface::mName, "its name"),
    column(&Interface::mRole, "its role"),
    column(&Interface::mDomain, "its domain"),
    column(&Interface::mType, "skeleton (provides it) or stub (uses it)"),
    column(&Interface::mVersion, "its version"),
    column(&Interface::mState, "registered or preregistered (required, not registered yet)"),
    column("COMM", "id of its communicator", ColumnKind::eNumber, communicatorIdCell, Shown::eOnRequest),
    column("FUNCTIONS", "number of its functions", ColumnKind::eNumber, functionCountCell, Shown::eOnRequest,
           cFunctions),
    column("RECEIVERS", "number of interfaces in its receiver set", ColumnKind::eNumber, receiverCountCell,
           Shown::eOnRequest),
    column("ADDRESSED", "number of messages in the storage addressed to it", ColumnKind::eNumber, addressedCell,
           Shown::eOnRequest, cMessages),
    column("OLDEST", "messages sent since the oldest of these, modulo 65,536", ColumnKind::eNumber, oldestCell,
           Shown::eOnRequest, cMessages),
    column(&Communicator::mProcessId, "id of its process"),
    column(&Process::mLiving, "whether its process is alive", Shown::eOnRequest, cProcesses),
    column(&Process::mApplication, "application of its process", Shown::eAlways, cProcesses),
};

std::vector<ListRow> communicatorRows(const BusIndex& index, const InterfaceFilter& filter)
{
    std::unordered_map<std::uint16_t, std::size_t> interfaces;
    for (const Interface& interface : index.state().mInterfaces) {
        ++interfaces[interface.mCommunicatorId];
    }
    std::vector<ListRow> rows;
    for (const Communicator& communicator : index.state().mCommunicators) {
        if (filter.mOwner.fits(&communicator)) {
            rows.push_back({communicator.mId,
                            &index,
                            {{}, &communicator, &communicator.mProcess, {}, {}, {}},
                            interfaces[communicator.mId]});
        }
    }
    return rows;
}

const std::vector<Column> cCommunicatorColumns{
    column(&Communicator::mId, "id of the communicator"),
    column(&Communicator::mState, "its registration state"),
    column("INTERFACES", "number of its interfaces", ColumnKind::eNumber,
           [](const ListRow& row) { return numberCell(row.mInterfaces); }),
    column(&Communicator::mProcessId, "id of its process"),
    column(&Process::mStartedAfterBoot, "start of its process, in seconds since boot", Shown::eAlways, cProcesses),
    column(&Process::mLiving, "whether its process is alive", Shown::eAlways, cProcesses),
    column(&Process::mApplication, "application of its process", Shown::eAlways, cProcesses),
};

std::vector<ListRow> processRows(const BusIndex& index, const InterfaceFilter& filter)
{
    std::vector<ListRow> rows;
    for (const BusProcess& process : index.processes()) {
        const Communicator* const last = process.mCommunicators.back(); // All name the same process.
        if (filter.mOwner.fits(process.id(), last->mProcess)) {
            rows.push_back({process.id(), &index, {{}, last, &last->mProcess, &process, {}, {}}});
        }
    }
    std::ranges::sort(rows, {}, &ListRow::mKey);
    return rows;
}

/// How many registered interfaces of that type the process has.
std::size_t countRegistered(const ListRow& row, std::uint32_t type)
{
    const auto isCounted = [&](const Interface* interface) {
        return interface->mType == type && interface->mState == oxa_zunic_registration_state_registered;
    };
    return static_cast<std::size_t>(std::ranges::count_if(row.record<BusProcess>()->mInterfaces, isCounted));
}

std::size_t countProvided(const ListRow& row)
{
    return countRegistered(row, Oxa::eInterfaceInstanceTypeSkeleton);
}

std::size_t countUsed(const ListRow& row)
{
    return countRegistered(row, Oxa::eInterfaceInstanceTypeStub);
}

std::vector<std::uint16_t> communicatorIds(const ListRow& row)
{
    std::vector<std::uint16_t> ids;
    for (const Communicator* const communicator : row.record<BusProcess>()->mCommunicators) {
        ids.push_back(communicator->mId);
    }
    return ids;
}

Json processJson(const ListRow& row)
{
    Json json{{"pid", row.mKey}};
    json.update(toJson(*row.record<Process>()));
    json["communicators"] = communicatorIds(row);
    json["provides"] = countProvided(row);
    json["uses"] = countUsed(row);
    return json;
}

const std::vector<Column> cProcessColumns{
    column(&Communicator::mProcessId, "id of the process"),
    column(&Process::mStartedAfterBoot, "its start, in seconds since boot", Shown::eAlways, cProcesses),
    column(&Process::mLiving, "whether it is alive", Shown::eAlways, cProcesses),
    column("PROVIDES", "number of interfaces it provides: registered skeletons", ColumnKind::eNumber,
           [](const ListRow& row) { return numberCell(countProvided(row)); }),
    column("USES", "number of interfaces it uses: registered stubs", ColumnKind::eNumber,
           [](const ListRow& row) { return numberCell(countUsed(row)); }),
    column(
        "ADDRESSED", "number of messages addressed to its interfaces", ColumnKind::eNumber,
        [](const ListRow& row) { return numberCell(row.mIndex->backlogOf(*row.record<BusProcess>()).mMessages); },
        Shown::eOnRequest, cMessages),
    Column{"COMMUNICATORS", "ids of its communicators", ColumnKind::eList,
           [](const ListRow& row, ListLength length) { return idsCell(communicatorIds(row), length); }},
    column(&Process::mApplication, "its application", Shown::eAlways, cProcesses),
};

std::vector<ListRow> memoryRows(const BusIndex& index, const InterfaceFilter& /*none*/)
{
    std::vector<ListRow> rows;
    for (const Channel::MemoryManagerFigures& figures : index.state().mMemoryManagers) {
        rows.push_back({static_cast<std::uint32_t>(rows.size()), &index, {{}, {}, {}, {}, &figures, {}}});
    }
    return rows;
}

/// A column of a number of blocks, by who holds them.
Column holderColumn(const char* name, const char* meaning, std::uint64_t BlockHolders::*blocks)
{
    const auto cell = [blocks](const ListRow& row, ListLength /*none*/) {
        return numberCell(row.mIndex->blockHolders()[row.mKey].*blocks);
    };
    return {name, meaning, ColumnKind::eNumber, cell, Shown::eOnRequest, cHolders};
}

const std::vector<Column> cMemoryColumns{
    column("MANAGER", "index of the memory manager", ColumnKind::eNumber,
           [](const ListRow& row) { return numberCell(row.mKey); }),
    column(&Channel::MemoryManagerFigures::mBlockSize, "size of a block in bytes"),
    column(&Channel::MemoryManagerFigures::mInitialBlocks, "blocks at first"),
    column(&Channel::MemoryManagerFigures::mAdditionalBlocks, "blocks added by each enlargement"),
    column(&Channel::MemoryManagerFigures::mTotalBlocks, "blocks now"),
    column(&Channel::MemoryManagerFigures::mUsedBlocks, "blocks in use"),
    column("FREE", "free blocks", ColumnKind::eNumber,
           [](const ListRow& row) { return freeBlocksCell(*row.record<Channel::MemoryManagerFigures>()); }),
    column("USE%", "share of blocks in use", ColumnKind::eNumber,
           [](const ListRow& row) { return usedShareCell(*row.record<Channel::MemoryManagerFigures>()); }),
    holderColumn("FUNCTIONS", "used blocks that hold functions of interfaces", &BlockHolders::mFunctionBlocks),
    holderColumn("MESSAGES", "used blocks that hold external data of messages", &BlockHolders::mMessageBlocks),
    holderColumn("UNKNOWN", "used blocks that nothing visible refers to", &BlockHolders::mUnknownBlocks),
};

std::vector<ListRow> messageRows(const BusIndex& index, const InterfaceFilter& /*none*/)
{
    std::vector<ListRow> rows;
    rows.reserve(index.state().mMessages.mSlots.size());
    for (const Slot& slot : index.state().mMessages.mSlots) {
        rows.push_back({slot.mIndex, &index, {index.interfaceWithId(slot.mSenderId), {}, {}, {}, {}, &slot}});
    }
    return rows;
}

const std::vector<Column> cMessageColumns{
    column(&Slot::mIndex, "index of the slot"),
    column(&Slot::mState, "reserved, written (being filled), message or data"),
    column(&Slot::mWriterCounter, "writer counter"),
    column(&Slot::mUserDataSize, "size of the user data"),
    column(&Slot::mSenderId, "id of the sending interface"),
    column(&Interface::mName, "name of the sender"),
    column(&Interface::mRole, "role of the sender", Shown::eOnRequest),
    column(&Slot::mReceivers, "ids of the receiving interfaces"),
    column(&Slot::mChain, "slots of its data entries, in order"),
    column(&Slot::mExternal, "memory manager and block of its external data entry"),
    column("FAULT", "why its chain is broken, and at which slot", ColumnKind::eText,
           [](const ListRow& row) { return chainFaultCell(row.record<Slot>()->mChain); }),
};

/// As in a saved state.
template <typename Record>
Json recordJson(const ListRow& row)
{
    return toJson(*row.record<Record>());
}

/// A table of these columns.
std::string alignedText(const ListKind& kind, const std::vector<ListRow>& rows, const std::vector<std::size_t>& places,
                        const TableStyle& style)
{
    std::vector<Heading> headings;
    headings.reserve(places.size());
    for (const std::size_t place : places) {
        headings.push_back({kind.mColumns[place].mName, kind.mColumns[place].mKind});
    }
    Table table(headings, style);
    for (const ListRow& row : rows) {
        std::vector<Cell> cells;
        cells.reserve(places.size());
        for (const std::size_t place : places) {
            cells.push_back(kind.mColumns[place].mCell(row, ListLength::eShort));
        }
        table.addLine(cells);
    }
    return table.text();
}

} // namespace

const ListKind cInterfaceList{
    "interfaces",         "interface",       Filters::eAll, {},
    {.mFunctions = true}, cInterfaceColumns, interfaceRows, recordJson<Interface>,
};
const ListKind cCommunicatorList{
    "communicators", "communicator",       Filters::eOwner,  {},
    cProcesses,      cCommunicatorColumns, communicatorRows, recordJson<Communicator>,
};
const ListKind cProcessList{
    "processes", "process", Filters::eOwner, {}, cProcesses, cProcessColumns, processRows, processJson,
};
const ListKind cMemoryList{
    "memory", "memory manager", Filters::eNone, {.mMemoryManagers = true},
    {},       cMemoryColumns,   memoryRows,     recordJson<Channel::MemoryManagerFigures>,
};
const ListKind cMessageList{
    "messages", "message slot",  Filters::eMessages, {.mMessages = true},
    {},         cMessageColumns, messageRows,        recordJson<Slot>,
};

void writeTable(std::ostream& out, const ListKind& kind, const std::vector<ListRow>& rows,
                const std::vector<std::size_t>& places, const TableStyle& style)
{
    const auto isList = [&](std::size_t place) { return kind.mColumns[place].mKind == ColumnKind::eList; };
    const auto firstLoose = style.mIsWhole ? std::ranges::find_if(places, isList) : places.end();
    const std::vector<std::size_t> aligned(places.begin(), firstLoose);
    const std::vector<std::size_t> loose(firstLoose, places.end());
    const std::string text = aligned.empty() ? "" : alignedText(kind, rows, aligned, style);
    if (loose.empty()) {
        out << text;
        return;
    }
    std::istringstream lines(text);
    const auto writeLine = [&](auto textOf) {
        std::string line;
        std::getline(lines, line);
        out << line;
        const char* separator = aligned.empty() ? "" : " ";
        for (const std::size_t place : loose) {
            out << std::exchange(separator, " ") << textOf(kind.mColumns[place]);
        }
        out << '\n';
    };
    if (style.mHeadings) {
        writeLine([](const Column& column) { return std::string(column.mName); });
    }
    for (const ListRow& row : rows) {
        writeLine([&](const Column& column) { return shownText(column.mCell(row, ListLength::eWhole)); });
    }
}

std::string listTable(const ListKind& kind, const BusIndex& index, const InterfaceFilter& filter)
{
    const std::vector<ListRow> rows = kind.mRows(index, filter);
    return rows.empty() ? "" : alignedText(kind, rows, chooseColumns(kind.mColumns, ""), {});
}

} // namespace Inspect
