#ifndef INSPECT_CHANGES_MATCHING_H
#define INSPECT_CHANGES_MATCHING_H

#include "inspect/bus/bus_index.h"

#include <cstddef>
#include <limits>
#include <string>
#include <unordered_map>
#include <utility>
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
    using Numbers = std::unordered_map<std::string, std::size_t>;
    /// Of each interface: the number of its name, role, domain and type, and its process.
    using Homes = std::vector<std::pair<std::size_t, std::size_t>>;

    void matchProcesses();
    void matchInterfaces();
    Homes homesBefore(Numbers& numbers) const;
    Homes homesNow(Numbers& numbers) const;
    /// `stayed` are the pairs that are still in the same process.
    void classify(const Homes& before, const Homes& now, const Pairing& stayed);
};

} // namespace Inspect

#endif
