#ifndef INSPECT_LIVE_PROCESSES_H
#define INSPECT_LIVE_PROCESSES_H

#include "inspect/bus/bus_state.h"

#include <cstdint>
#include <vector>

namespace Inspect {

/// What /proc shows of the process at this moment.
Process lookUpProcess(std::uint32_t processId);

/// Fills in the processes from /proc.
void lookUpProcesses(std::vector<Communicator>& communicators);

} // namespace Inspect

#endif
