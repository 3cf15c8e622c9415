#ifndef INSPECT_FINDINGS_CONTRACT_COMPARE_CONTRACT_H
#define INSPECT_FINDINGS_CONTRACT_COMPARE_CONTRACT_H

#include "inspect/bus/bus_index.h"
#include "inspect/findings/contract/contract.h"
#include "inspect/findings/finding.h"

#include <span>
#include <vector>

namespace Inspect {

/// What of the contract is not kept, in its order. Throws NoState when that is more than cMostExpectations.
std::vector<Finding> compareWithContract(const Contract& contract, const BusIndex& index);

/// The kinds of these findings.
std::span<const FindingKind* const> contractKinds();

} // namespace Inspect

#endif
