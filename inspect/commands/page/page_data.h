#ifndef INSPECT_COMMANDS_PAGE_PAGE_DATA_H
#define INSPECT_COMMANDS_PAGE_PAGE_DATA_H

#include "inspect/findings/finding.h"

#include <ostream>
#include <vector>

namespace Inspect {

/// Writes the state and the findings as web/bus.js reads them: JSON of ASCII characters without "<", so that it can
/// stand in an element of a page. The names are those of a saved state, but it is much smaller: records are tables,
/// written column by column, and what repeats stands there once.
void writePageData(std::ostream& out, const BusState& state, const std::vector<Finding>& findings);

} // namespace Inspect

#endif
