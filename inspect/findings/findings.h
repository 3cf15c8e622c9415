#ifndef INSPECT_FINDINGS_FINDINGS_H
#define INSPECT_FINDINGS_FINDINGS_H

#include "inspect/findings/finding.h"

#include <span>
#include <vector>

namespace Inspect {

/// The kinds that are looked for on every bus, in the order in which --explain and the manual page show them.
std::span<const FindingKind> findingKinds();

/// What is wrong with the bus, gravest first, those of one severity in the order of `findingKinds`. Findings that show
/// only over time are claimed when there is a look before this one.
std::vector<Finding> findAll(const BusState& now, const BusState* before = nullptr);

} // namespace Inspect

#endif
