#include "inspect/bus/relations.h"
#include "inspect/bus/words.h"
#include "inspect/commands/list/listing.h"
#include "inspect/view/cells.h"

namespace Inspect {

namespace {

struct InterfaceList
{
    struct Row
    {
        const Interface& mInterface;
        const Communicator* mOwner; ///< may be null
    };

    static constexpr auto cWord = "interfaces";
    static constexpr auto cOne = "interface";
    static constexpr Wanted cWanted{};
    static constexpr Wanted cWantedForJson{.mFunctions = true};
    static const std::vector<Column<Row>> cColumns;

    static std::vector<Row> rows(const BusState& state, const InterfaceFilter& filter)
    {
        const Owners owners(state);
        std::vector<Row> rows;
        for (const Interface& interface : state.mInterfaces) {
            if (const Communicator* const owner = owners.of(interface); filter.fits(interface, owner)) {
                rows.push_back({interface, owner});
            }
        }
        return rows;
    }

    static std::uint32_t key(const Row& row) { return row.mInterface.mId; }
    static Json json(const Row& row) { return toJson(row.mInterface); }
};

using Row = InterfaceList::Row;

Cell functionCountCell(const Row& row)
{
    const auto& functions = row.mInterface.mFunctions;
    return functions ? numberCell(functions->size()) : Cell{};
}

const std::vector<Column<Row>> InterfaceList::cColumns{
    {{"ID", "id of the interface", Kind::eNumber}, [](const Row& row) { return numberCell(row.mInterface.mId); }},
    {{"NAME", "its name"}, [](const Row& row) { return Cell{row.mInterface.mName}; }},
    {{"ROLE", "its role"}, [](const Row& row) { return Cell{row.mInterface.mRole}; }},
    {{"DOMAIN", "its domain"}, [](const Row& row) { return Cell{row.mInterface.mDomain}; }},
    {{"TYPE", "skeleton (provides it) or stub (uses it)", Kind::eWord},
     [](const Row& row) { return Cell{typeWord(row.mInterface.mType)}; }},
    {{"VERSION", "its version", Kind::eWord},
     [](const Row& row) { return Cell{versionWord(row.mInterface.mVersion)}; }},
    {{"STATE", "registered, or preregistered: required, but not there yet", Kind::eWord},
     [](const Row& row) { return stateCell(row.mInterface.mState); }},
    {{"COMM", "id of its communicator", Kind::eNumber, Shown::eOnRequest},
     [](const Row& row) { return communicatorIdCell(row.mInterface); }},
    {{"FUNCTIONS", "how many functions it has", Kind::eNumber, Shown::eOnRequest, {.mFunctions = true}},
     functionCountCell},
    {{"RECEIVERS", "how many interfaces are in its receiver set", Kind::eNumber, Shown::eOnRequest},
     [](const Row& row) { return numberCell(row.mInterface.mReceivers.size()); }},
    {{"PID", "process that it belongs to", Kind::eNumber}, [](const Row& row) { return processIdCell(row.mOwner); }},
    {{"LIVING", "whether that process lives", Kind::eWord, Shown::eOnRequest, {.mProcesses = true}},
     [](const Row& row) { return livingCell(row.mOwner); }},
    {{"APP", "application of that process", Kind::eText, Shown::eAlways, {.mProcesses = true}},
     [](const Row& row) { return applicationCell(row.mOwner); }},
};

} // namespace

const ListKind cInterfaceList = kindOf<InterfaceList>(Filters::eAll);

} // namespace Inspect
