#ifndef INSPECT_LIVE_STATE_PARTS_H
#define INSPECT_LIVE_STATE_PARTS_H

#include "channel/channel_layout.h"
#include "inspect/bus/bus_state.h"

#include <memory>
#include <string>
#include <vector>

// What the state of a channel is put together from; for those who take one.

namespace Inspect {

struct Detach
{
    void operator()(oxa_zunic_communication_channel* channel) const
    {
        oxa_zunic_communication_channel_destroy(channel);
    }
};
using Attachment = std::unique_ptr<oxa_zunic_communication_channel, Detach>;

/// Throws NoChannel.
Attachment attach(const std::string& channel);

/// That the registry mutex of an attached channel could not be taken. Throws NoChannel.
[[noreturn]] void failToLock(const std::string& channel);

/// Fills in the time, which is now, the channel's name, and who and where we are.
void signState(const std::string& channel, BusState& state);

/// Fills in interfaces and communicators, without their functions and processes.
void decodeTables(const Channel::RegistryTables& tables, BusState& state);
/// Of those interfaces that have none yet.
void readFunctions(oxa_zunic_communication_channel* channel, std::vector<Interface>& interfaces);
void readMemoryManagers(oxa_zunic_communication_channel* channel, std::vector<Channel::MemoryManagerFigures>& figures);

} // namespace Inspect

#endif
