#include "inspect/bus/relations.h"

namespace Inspect {

namespace {

const Connections::Interfaces& findIn(const std::unordered_map<std::uint16_t, Connections::Interfaces>& map,
                                      std::uint16_t id)
{
    static const Connections::Interfaces cNone;
    const auto found = map.find(id);
    return found == map.end() ? cNone : found->second;
}

} // namespace

Owners::Owners(const BusState& state)
{
    for (const Communicator& communicator : state.mCommunicators) {
        mById.try_emplace(communicator.mId, &communicator);
    }
}

const Communicator* Owners::of(const Interface& interface) const
{
    const auto found = mById.find(interface.mCommunicatorId);
    return found == mById.end() ? nullptr : found->second;
}

Connections::Connections(const BusState& state)
{
    for (const Interface& interface : state.mInterfaces) {
        mById[interface.mId].push_back(&interface);
        for (const std::uint16_t receiver : interface.mReceivers) {
            mHolders[receiver].push_back(&interface);
        }
    }
}

const Connections::Interfaces& Connections::withId(std::uint16_t id) const
{
    return findIn(mById, id);
}

const Connections::Interfaces& Connections::holdersOf(std::uint16_t id) const
{
    return findIn(mHolders, id);
}

} // namespace Inspect
