#ifndef INSPECT_FINDINGS_FINDINGS_H
#define INSPECT_FINDINGS_FINDINGS_H

#include "inspect/bus/bus_index.h"
#include "inspect/findings/contract/contract.h"
#include "inspect/findings/finding.h"

#include <span>
#include <string_view>
#include <vector>

namespace Inspect {

/// The kinds that are looked for on every bus, in the order in which --explain and the manual page show them.
std::span<const FindingKind* const> findingKinds();

/// The kind with that code, be it of a bus or of a contract; null when there is none.
const FindingKind* findingKind(std::string_view code);

/// What is wrong with the bus, most severe first, those of one severity in the order of `findingKinds`. Findings that
/// show only over time are claimed when there is a look before this one.
std::vector<Finding> findAll(const BusIndex& now, const BusIndex* before = nullptr);

/// Adds what of the contract is not kept to what `findAll` found. With a contract, a stub without a provider is an
/// error.
void addBreaches(const Contract& contract, const BusIndex& now, std::vector<Finding>& findings);

} // namespace Inspect

#endif
