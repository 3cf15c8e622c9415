#ifndef INSPECT_BUS_RELATIONS_H
#define INSPECT_BUS_RELATIONS_H

#include "inspect/bus/bus_state.h"

#include <cstdint>
#include <unordered_map>
#include <vector>

// Who belongs together in a state, which has to outlive these objects and stay as it is.

namespace Inspect {

/// Whose the interfaces are.
class Owners
{
public:
    explicit Owners(const BusState& state);

    /// The communicator that the interface names, of several of that id the first; null when there is none.
    const Communicator* of(const Interface& interface) const;

private:
    std::unordered_map<std::uint16_t, const Communicator*> mById;
};

/// Which interfaces are connected: the receiver set of the one names the other.
class Connections
{
public:
    using Interfaces = std::vector<const Interface*>;

    explicit Connections(const BusState& state);

    /// Those of that id: none, one or, on a damaged bus, several. In the order of the state.
    const Interfaces& withId(std::uint16_t id) const;

    /// Those whose receiver set names that id, in the order of the state.
    const Interfaces& holdersOf(std::uint16_t id) const;

private:
    std::unordered_map<std::uint16_t, Interfaces> mById;
    std::unordered_map<std::uint16_t, Interfaces> mHolders; ///< by receiver
};

} // namespace Inspect

#endif
