#ifndef FUZZ_INSPECT_OUTPUTS_H
#define FUZZ_INSPECT_OUTPUTS_H

#include "inspect/bus/bus_state.h"

#include <string_view>

/// Aborts, with `what` on standard error, unless the condition holds.
void require(bool condition, const char* what);

/// Aborts if the text that is shown to people or scripts has control characters other than newlines.
void requirePlain(std::string_view text);

/// Makes what each command of zunic_inspect makes of two looks at a bus, and aborts where it is not as it should be.
void makeOutputs(const Inspect::BusState& before, const Inspect::BusState& now);

#endif
