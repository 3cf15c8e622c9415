#ifndef INSPECT_COMMANDS_PAGE_PAGE_H
#define INSPECT_COMMANDS_PAGE_PAGE_H

#include "inspect/cli/command.h"
#include "inspect/findings/findings.h"

#include <ostream>
#include <vector>

namespace Inspect {

extern const Command cPageCommand;

/// Writes one HTML page that shows the state and the findings, and needs no other file.
/// The stream reports failures.
void writePage(std::ostream& out, const BusState& state, const std::vector<Finding>& findings);

} // namespace Inspect

#endif
