#ifndef INSPECT_FINDINGS_LOOK_H
#define INSPECT_FINDINGS_LOOK_H

#include "inspect/bus/bus_state.h"

#include <cstddef>
#include <cstdint>
#include <unordered_map>
#include <vector>

namespace Inspect {

/// What provides and what uses one interface name in one domain.
struct Service
{
    std::vector<const Interface*> mSkeletons;
    std::vector<const Interface*> mStubs;
};

/// A state, and whatever the findings look up in it; made in a time that grows as the state does, times a logarithm.
/// The state has to outlive it and stay as it is.
class Look
{
public:
    explicit Look(const BusState& state);

    const BusState& state() const { return mState; }

    /// Of several with one id the first; null when there is none.
    const Interface* interfaceWithId(std::uint16_t id) const { return mInterfaces[id]; }
    const Communicator* communicatorWithId(std::uint16_t id) const;
    /// The interface that is the same one as that of another look: id, names and type; null when there is none.
    const Interface* sameAs(const Interface& other) const;
    /// Null when that slot is not in use.
    const Slot* slot(std::uint32_t index) const;

    /// By interface name and domain.
    const std::vector<Service>& services() const { return mServices; }
    /// The one of an interface of this look.
    const Service& serviceOf(const Interface& interface) const;
    bool areOfOneService(const Interface& one, const Interface& other) const;

private:
    std::size_t indexOf(const Interface& interface) const
    {
        return static_cast<std::size_t>(&interface - mState.mInterfaces.data());
    }

    const BusState& mState;
    std::vector<const Interface*> mInterfaces; ///< by id, whatever id there can be
    std::unordered_map<std::uint16_t, const Communicator*> mCommunicators;
    std::vector<Service> mServices;
    std::vector<std::size_t> mServiceNumbers; ///< by index of the interface
};

} // namespace Inspect

#endif
