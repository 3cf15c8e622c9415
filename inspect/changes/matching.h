#ifndef INSPECT_CHANGES_MATCHING_H
#define INSPECT_CHANGES_MATCHING_H

#include "inspect/bus/bus_index.h"

#include <cstddef>
#include <limits>
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

/// The process of an interface, by its place in the state; cNobody: it has none.
std::size_t processOf(const BusIndex& index, std::size_t interface);

/// The first communicator of the process of an interface; null when it has none.
const Communicator* ownerOf(const BusIndex& index, std::size_t interface);

/// Two states side by side; their indices have to outlive it.
class Matching
{
public:
    Matching(const BusIndex& before, const BusIndex& now);

    const BusIndex& mBefore;
    const BusIndex& mNow;
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
