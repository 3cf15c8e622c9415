#ifndef INSPECT_LIVE_STATE_PARTS_H
#define INSPECT_LIVE_STATE_PARTS_H

#include "channel/channel_layout.h"
#include "inspect/bus/bus_state.h"

#include <vector>

// The parts of a state, each read from an attached channel.

namespace Inspect {

/// Fills in interfaces and communicators, without their functions and processes.
void decodeTables(const Channel::RegistryTables& tables, BusState& state);

/// An interface that is still there has the functions that it had: to read them again would cost time, and their
/// storage may be another interface's in the meantime.
void keepFunctions(const BusState& before, BusState& now);

/// Fills in the functions of those interfaces that have none yet. Names beyond 262,144 of all interfaces, or 8 MiB, are
/// left out.
void readFunctions(oxa_zunic_communication_channel* channel, std::vector<Interface>& interfaces);

void readMemoryManagers(oxa_zunic_communication_channel* channel, std::vector<Channel::MemoryManagerFigures>& figures);

/// The slots themselves only if they are wanted.
void readMessages(oxa_zunic_communication_channel* channel, bool areSlotsWanted, MessageStorage& messages);

} // namespace Inspect

#endif
