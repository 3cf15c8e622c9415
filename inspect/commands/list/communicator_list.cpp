#include "inspect/commands/list/listing.h"
#include "inspect/view/cells.h"

#include <unordered_map>

namespace Inspect {

namespace {

struct CommunicatorList
{
    struct Row
    {
        const Communicator& mCommunicator;
        std::size_t mInterfaces; ///< that name it
    };

    static constexpr auto cWord = "communicators";
    static constexpr auto cOne = "communicator";
    static constexpr Wanted cWanted{};
    static constexpr Wanted cWantedForJson{.mProcesses = true};
    static const std::vector<Column<Row>> cColumns;

    static std::vector<Row> rows(const BusState& state, const InterfaceFilter& filter)
    {
        std::unordered_map<std::uint16_t, std::size_t> interfaces;
        for (const Interface& interface : state.mInterfaces) {
            ++interfaces[interface.mCommunicatorId];
        }
        std::vector<Row> rows;
        for (const Communicator& communicator : state.mCommunicators) {
            if (filter.mOwner.fits(&communicator)) {
                rows.push_back({communicator, interfaces[communicator.mId]});
            }
        }
        return rows;
    }

    static std::uint32_t key(const Row& row) { return row.mCommunicator.mId; }
    static Json json(const Row& row) { return toJson(row.mCommunicator); }
};

using Row = CommunicatorList::Row;

constexpr Wanted cProcesses{.mProcesses = true};

const std::vector<Column<Row>> CommunicatorList::cColumns{
    {{"ID", "id of the communicator", Kind::eNumber}, [](const Row& row) { return numberCell(row.mCommunicator.mId); }},
    {{"STATE", "registered, for one", Kind::eWord}, [](const Row& row) { return stateCell(row.mCommunicator.mState); }},
    {{"INTERFACES", "how many interfaces belong to it", Kind::eNumber},
     [](const Row& row) { return numberCell(row.mInterfaces); }},
    {{"PID", "process that it belongs to", Kind::eNumber},
     [](const Row& row) { return numberCell(row.mCommunicator.mProcessId); }},
    {{"STARTED", "when that process started, in seconds after the boot", Kind::eNumber, Shown::eAlways, cProcesses},
     [](const Row& row) { return startedCell(row.mCommunicator.mProcess); }},
    {{"LIVING", "whether it lives", Kind::eWord, Shown::eAlways, cProcesses},
     [](const Row& row) { return livingCell(row.mCommunicator.mProcess.mLiving); }},
    {{"APP", "its application", Kind::eText, Shown::eAlways, cProcesses},
     [](const Row& row) { return applicationCell(row.mCommunicator.mProcess); }},
};

} // namespace

const ListKind cCommunicatorList = kindOf<CommunicatorList>(Filters::eOwner);

} // namespace Inspect
