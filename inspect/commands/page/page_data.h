#ifndef INSPECT_COMMANDS_PAGE_PAGE_DATA_H
#define INSPECT_COMMANDS_PAGE_PAGE_DATA_H

#include "inspect/findings/finding.h"

#include <string>
#include <vector>

namespace Inspect {

/// The state and the findings as web/data.js reads them: JSON of ASCII characters without "<", so that it can stand in
/// an element of a page. Much smaller than a saved state: rows are arrays, what repeats stands there once.
std::string pageData(const BusState& state, const std::vector<Finding>& findings);

} // namespace Inspect

#endif
