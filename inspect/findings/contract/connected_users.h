#ifndef INSPECT_FINDINGS_CONTRACT_CONNECTED_USERS_H
#define INSPECT_FINDINGS_CONTRACT_CONNECTED_USERS_H

#include "inspect/bus/relations.h"

#include <cstdint>
#include <set>

namespace Inspect {

/// How many registered stubs are connected to the interface, on either side.
inline std::uint32_t countUsers(const Interface& interface, const Connections& connections)
{
    std::set<const Interface*> users;
    const auto addStubs = [&](const Connections::Interfaces& others) {
        for (const Interface* const other : others) {
            if (other->mType == Oxa::eInterfaceInstanceTypeStub &&
                other->mState == oxa_zunic_registration_state_registered) {
                users.insert(other);
            }
        }
    };
    for (const std::uint16_t id : interface.mReceivers) {
        addStubs(connections.withId(id));
    }
    addStubs(connections.holdersOf(interface.mId));
    return static_cast<std::uint32_t>(users.size());
}

} // namespace Inspect

#endif
