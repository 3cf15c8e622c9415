#include "inspect/bus/relations.h"
#include "inspect/commands/list/listing.h"
#include "inspect/view/cells.h"

#include <map>

namespace Inspect {

namespace {

/// A process that has communicators; there are no such records on the bus.
struct ProcessList
{
    struct Row
    {
        std::uint32_t mProcessId = 0;
        Process mProcess;
        IdSet mCommunicators;
        std::size_t mProvided = 0; ///< registered skeletons
        std::size_t mUsed = 0;     ///< registered stubs
    };

    static constexpr auto cWord = "processes";
    static constexpr auto cOne = "process";
    static constexpr Wanted cWanted{};
    static constexpr Wanted cWantedForJson{.mProcesses = true};
    static const std::vector<Column<Row>> cColumns;

    static std::vector<Row> rows(const BusState& state, const InterfaceFilter& filter);
    static std::uint32_t key(const Row& row) { return row.mProcessId; }
    static Json json(const Row& row);
};

using Row = ProcessList::Row;

std::map<std::uint32_t, Row> processesOf(const std::vector<Communicator>& communicators)
{
    std::map<std::uint32_t, Row> processes;
    for (const Communicator& communicator : communicators) {
        const std::uint32_t id = communicator.mProcessId;
        Row& row = processes[id];
        row.mProcessId = id;
        row.mProcess = communicator.mProcess;
        row.mCommunicators.push_back(communicator.mId);
    }
    return processes;
}

std::vector<Row> ProcessList::rows(const BusState& state, const InterfaceFilter& filter)
{
    auto processes = processesOf(state.mCommunicators);
    const Owners owners(state);
    for (const Interface& interface : state.mInterfaces) {
        const Communicator* const owner = owners.of(interface);
        if (owner == nullptr || interface.mState != oxa_zunic_registration_state_registered) {
            continue;
        }
        Row& row = processes.at(owner->mProcessId);
        row.mProvided += interface.mType == Oxa::eInterfaceInstanceTypeSkeleton ? 1U : 0U;
        row.mUsed += interface.mType == Oxa::eInterfaceInstanceTypeStub ? 1U : 0U;
    }
    std::vector<Row> rows;
    for (auto& [processId, row] : processes) {
        if (filter.mOwner.fits(processId, row.mProcess)) {
            rows.push_back(std::move(row));
        }
    }
    return rows;
}

Json ProcessList::json(const Row& row)
{
    // What a communicator says of its process is said in the same words here.
    Json json = toJson(Communicator{0, row.mProcessId, 0, row.mProcess});
    json.erase("id");
    json.erase("state");
    json["communicators"] = row.mCommunicators;
    json["provides"] = row.mProvided;
    json["uses"] = row.mUsed;
    return json;
}

constexpr Wanted cProcesses{.mProcesses = true};

const std::vector<Column<Row>> ProcessList::cColumns{
    {{"PID", "id of the process", Kind::eNumber}, [](const Row& row) { return numberCell(row.mProcessId); }},
    {{"STARTED", "when it started, in seconds after the boot", Kind::eNumber, Shown::eAlways, cProcesses},
     [](const Row& row) { return startedCell(row.mProcess); }},
    {{"LIVING", "whether it lives", Kind::eWord, Shown::eAlways, cProcesses},
     [](const Row& row) { return livingCell(row.mProcess.mLiving); }},
    {{"PROVIDES", "how many interfaces it provides: registered skeletons", Kind::eNumber},
     [](const Row& row) { return numberCell(row.mProvided); }},
    {{"USES", "how many interfaces it uses: registered stubs", Kind::eNumber},
     [](const Row& row) { return numberCell(row.mUsed); }},
    {{"COMMUNICATORS", "ids of its communicators"}, [](const Row& row) { return idsCell(row.mCommunicators); }},
    {{"APP", "its application", Kind::eText, Shown::eAlways, cProcesses},
     [](const Row& row) { return applicationCell(row.mProcess); }},
};

} // namespace

const ListKind cProcessList = kindOf<ProcessList>(Filters::eOwner);

} // namespace Inspect
