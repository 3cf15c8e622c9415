#ifndef INSPECT_BUS_BUS_INDEX_H
#define INSPECT_BUS_BUS_INDEX_H

#include "inspect/bus/backlog.h"
#include "inspect/bus/block_holders.h"
#include "inspect/bus/bus_state.h"

#include <cstddef>
#include <optional>
#include <span>
#include <unordered_map>
#include <vector>

namespace Inspect {

/// A process that has communicators; the bus has no such record.
struct BusProcess
{
    std::vector<const Communicator*> mCommunicators; ///< in the order of the table; at least one
    std::vector<const Interface*> mInterfaces;       ///< in the order of the state

    std::uint32_t id() const { return mCommunicators.front()->mProcessId; }
    const Process& process() const { return mCommunicators.front()->mProcess; }
};

/// What provides and what uses one interface name in one domain, in the order of the state.
struct Service
{
    std::vector<const Interface*> mSkeletons;
    std::vector<const Interface*> mStubs;
};

/// A bus in numbers.
struct BusTotals
{
    std::size_t mInterfaces = 0;
    std::size_t mCommunicators = 0;
    std::size_t mProcesses = 0;
    std::size_t mDeadProcesses = 0; ///< of these
    std::size_t mLinks = 0;         ///< receivers in all receiver sets

    bool operator==(const BusTotals& other) const = default;
};

/// Who belongs together in a state. Each part is made when it is first asked for, in a time that grows as the state
/// does, times a logarithm. The state has to outlive it and stay as it is. Not for use by several threads.
class BusIndex
{
public:
    using Interfaces = std::vector<const Interface*>;

    explicit BusIndex(const BusState& state) : mState(state) {}

    BusIndex(const BusIndex&) = delete;
    BusIndex& operator=(const BusIndex&) = delete;

    const BusState& state() const { return mState; }

    /// Those of that id: none, one or, on a damaged bus, several.
    std::span<const Interface> interfacesWithId(std::uint16_t id) const;
    /// The first of them; null when there is none.
    const Interface* interfaceWithId(std::uint16_t id) const
    {
        const std::size_t place = firstPlaceOf(id);
        return place < mState.mInterfaces.size() ? &mState.mInterfaces[place] : nullptr;
    }
    /// The interface that is the same one as that of another state: id, names and type; null when there is none.
    const Interface* sameAs(const Interface& other) const;
    /// Those whose receiver set names that id, in the order of the state.
    const Interfaces& holdersOf(std::uint16_t id) const;
    /// The registered stubs that are connected to the interface, on either side.
    std::size_t connectedStubs(const Interface& interface) const;

    /// Of several with that id the first; null when there is none.
    const Communicator* communicatorWithId(std::uint16_t id) const;
    /// The communicator that the interface names; null when there is none.
    const Communicator* ownerOf(const Interface& interface) const
    {
        return communicatorWithId(interface.mCommunicatorId);
    }

    /// In the order in which the table of communicators first names them.
    const std::vector<BusProcess>& processes() const;
    /// None when there is no such process, by its id.
    std::optional<std::size_t> processWithId(std::uint32_t id) const;
    /// None when the interface has no owner.
    std::optional<std::size_t> processOf(const Interface& interface) const;

    /// By interface name and domain.
    const std::vector<Service>& services() const;
    /// The one of an interface of this state.
    const Service& serviceOf(const Interface& interface) const;

    /// Null when that slot is not in use.
    const Slot* slot(std::uint32_t index) const;
    /// Of all interfaces with that id.
    const Backlog& backlogOf(std::uint16_t id) const { return backlogTable().mInterfaces[id]; }
    /// Of several interfaces with one id, only the process of the first one has its messages.
    const Backlog& backlogOf(const BusProcess& process) const
    {
        return backlogTable().mProcesses[static_cast<std::size_t>(&process - processes().data())];
    }

    /// By index of the memory manager.
    const std::vector<BlockHolders>& blockHolders() const;

    BusTotals totals() const;

private:
    struct Processes
    {
        explicit Processes(const BusIndex& index);

        std::vector<BusProcess> mList;
        std::unordered_map<std::uint32_t, std::size_t> mById;
    };

    struct Services
    {
        explicit Services(const BusState& state);

        std::vector<Service> mList;
        std::vector<std::size_t> mNumbers; ///< by index of the interface
    };

    using Communicators = std::unordered_map<std::uint16_t, const Communicator*>;
    using Holders = std::unordered_map<std::uint16_t, Interfaces>;

    /// Past the end when there is none. In the header, because it is called for every link.
    std::size_t firstPlaceOf(std::uint16_t id) const
    {
        if (mPlaces.empty()) {
            makePlaces();
        }
        return id < mPlaces.size() ? mPlaces[id] : mState.mInterfaces.size();
    }
    void makePlaces() const;
    const Processes& processTable() const;
    const Services& serviceTable() const;
    const Backlogs& backlogTable() const;

    const BusState& mState;
    mutable std::vector<std::size_t> mPlaces;            ///< of the first interface of each id up to the highest
    mutable std::optional<Communicators> mCommunicators; ///< by id
    mutable std::optional<Holders> mHolders;             ///< by receiver
    mutable std::optional<Processes> mProcesses;
    mutable std::optional<Services> mServices;
    mutable std::optional<Backlogs> mBacklogs;
    mutable std::optional<std::vector<BlockHolders>> mBlockHolders;
};

} // namespace Inspect

#endif
