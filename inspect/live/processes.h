#ifndef INSPECT_LIVE_PROCESSES_H
#define INSPECT_LIVE_PROCESSES_H

#include "inspect/bus/bus_state.h"

#include <cstdint>

namespace Inspect {

/// What /proc says of the process at this moment.
Process lookUpProcess(std::uint32_t processId);

} // namespace Inspect

#endif
