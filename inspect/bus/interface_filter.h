#ifndef INSPECT_BUS_INTERFACE_FILTER_H
#define INSPECT_BUS_INTERFACE_FILTER_H

#include "inspect/bus/bus_state.h"

#include <cstdint>
#include <optional>
#include <string>

namespace Inspect {

/// Which owners are asked for. What is not given is not compared; patterns are those of the shell, for whole names.
struct OwnerFilter
{
    std::optional<std::string> mApplication; ///< a pattern; fits no application that is not known
    std::optional<std::uint32_t> mProcessId;

    /// `owner` may be null.
    bool fits(const Communicator* owner) const;
    bool fits(std::uint32_t processId, const Process& process) const;
};

/// Which interfaces are asked for, as above.
struct InterfaceFilter
{
    std::optional<std::string> mName;   ///< a pattern
    std::optional<std::string> mRole;   ///< a pattern
    std::optional<std::string> mDomain; ///< a pattern
    std::optional<std::uint32_t> mType;
    std::optional<std::uint32_t> mState;
    OwnerFilter mOwner;

    bool fits(const Interface& interface, const Communicator* owner) const;
};

} // namespace Inspect

#endif
