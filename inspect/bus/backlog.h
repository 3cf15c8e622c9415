#ifndef INSPECT_BUS_BACKLOG_H
#define INSPECT_BUS_BACKLOG_H

#include "inspect/bus/bus_state.h"

#include <cstdint>
#include <functional>
#include <vector>

namespace Inspect {

/// The messages in the storage that address a receiver: slots in state message.
struct Backlog
{
    std::uint32_t mMessages = 0;
    std::uint16_t mSinceOldest = 0; ///< messages sent since the oldest of them, modulo 65,536; 0 if there are none

    bool operator==(const Backlog& other) const = default;
};

/// Of all receivers.
struct Backlogs
{
    std::vector<Backlog> mInterfaces; ///< by id, of all ids
    std::vector<Backlog> mProcesses;  ///< by place; a message to two interfaces of a process counts once
};

/// `processOf` returns the place, below `processes`, of the process of an interface id; any other place stands for
/// none.
Backlogs backlogs(const MessageStorage& messages, std::size_t processes,
                  const std::function<std::size_t(std::uint16_t id)>& processOf);

} // namespace Inspect

#endif
