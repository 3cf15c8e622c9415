#ifndef INSPECT_COMMANDS_TRAFFIC_PARTIES_H
#define INSPECT_COMMANDS_TRAFFIC_PARTIES_H

#include "inspect/bus/bus_state.h"
#include "inspect/bus/interface_filter.h"

#include <cstdint>
#include <map>
#include <optional>

namespace Inspect {

/// An interface that sends or is addressed, without its receivers and functions.
struct Party
{
    Interface mInterface;
    std::optional<Communicator> mOwner;
    bool mIsKnown = false; ///< else it has its id only

    const Communicator* owner() const { return mOwner ? &*mOwner : nullptr; }
};

/// The interfaces of a bus by their ids, as looks saw them; of several with one id the last. What has gone stays known.
class Parties
{
public:
    void add(const BusState& state);

    Party party(std::uint16_t id) const;
    /// One that is not known fits a filter that asks for nothing.
    bool fits(std::uint16_t id, const InterfaceFilter& filter) const;

private:
    std::map<std::uint16_t, Party> mParties;
};

} // namespace Inspect

#endif
