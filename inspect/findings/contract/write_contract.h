#ifndef INSPECT_FINDINGS_CONTRACT_WRITE_CONTRACT_H
#define INSPECT_FINDINGS_CONTRACT_WRITE_CONTRACT_H

#include "inspect/bus/bus_index.h"

#include <ostream>

namespace Inspect {

/// Writes a first contract, from a bus that works: every registered interface is expected as it is, or newer, with no
/// fewer users.
void writeContract(std::ostream& out, const BusIndex& index);

} // namespace Inspect

#endif
