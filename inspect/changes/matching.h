#ifndef INSPECT_CHANGES_MATCHING_H
#define INSPECT_CHANGES_MATCHING_H

#include "inspect/bus/bus_state.h"

#include <cstddef>
#include <limits>
#include <unordered_map>
#include <vector>

// Who of one state is who in another one. Ids change with every start, and say nothing by themselves.

namespace Inspect {

constexpr std::size_t cNobody = std::numeric_limits<std::size_t>::max();

/// Which places of one list belong to which of another; cNobody: to none.
struct Pairing
{
    Pairing(std::size_t before, std::size_t now) : mNowOf(before, cNobody), mBeforeOf(now, cNobody) {}

    std::vector<std::size_t> mNowOf;
    std::vector<std::size_t> mBeforeOf;
};

/// The processes of a state, and what is theirs. The state has to outlive it and stay as it is.
struct Processes
{
    explicit Processes(const BusState& state);

    /// The communicators of each, in the order of the table; so are the processes themselves.
    std::vector<std::vector<const Communicator*>> mList;
    std::vector<std::size_t> mOwners; ///< of each interface, or cNobody

    const Communicator& operator[](std::size_t place) const { return *mList[place].front(); }
    /// Null when the interface has no owner.
    const Communicator* ownerOf(std::size_t interface) const;
};

/// Two states side by side; they have to outlive it and stay as they are.
class Matching
{
public:
    Matching(const BusState& before, const BusState& now);

    const BusState& mBefore;
    const BusState& mNow;
    Processes mProcessesBefore;
    Processes mProcessesNow;
    Pairing mProcesses;  ///< the same process, or the one that took its place
    Pairing mInterfaces; ///< of one name, role, domain and type

    /// Interfaces of one class, of either state, can stand for each other: one of each state that are a pair, or any
    /// number of the same identity in the same process.
    std::vector<std::size_t> mClassesBefore;
    std::vector<std::size_t> mClassesNow;
    std::size_t mClassCount = 0;

    /// A process that runs on, with its id.
    bool isSameRun(std::size_t before, std::size_t now) const;

private:
    void matchProcesses();
    void matchInterfaces();
};

} // namespace Inspect

#endif
