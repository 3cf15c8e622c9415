#include "inspect/commands/traffic/parties.h"

#include "inspect/bus/bus_index.h"

namespace Inspect {

void Parties::add(const BusState& state)
{
    const BusIndex index(state);
    for (const Interface& interface : state.mInterfaces) {
        Party& party = mParties[interface.mId];
        party = {interface, {}, true};
        party.mInterface.mReceivers = {};
        if (const Communicator* const owner = index.ownerOf(interface)) {
            party.mOwner = *owner;
        }
    }
}

Party Parties::party(std::uint16_t id) const
{
    const auto found = mParties.find(id);
    if (found != mParties.end()) {
        return found->second;
    }
    Party unknown;
    unknown.mInterface.mId = id;
    return unknown;
}

bool Parties::fits(std::uint16_t id, const InterfaceFilter& filter) const
{
    const Party one = party(id);
    return filter.fits(one.mInterface, one.owner());
}

} // namespace Inspect
