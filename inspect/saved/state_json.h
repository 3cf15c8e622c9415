#ifndef INSPECT_SAVED_STATE_JSON_H
#define INSPECT_SAVED_STATE_JSON_H

#include "inspect/bus/bus_state.h"
#include "inspect/saved/no_state.h"

#include <istream>
#include <ostream>

// A saved state: a JSON document, as docs/bus_state.schema.json has it.

namespace Inspect {

constexpr auto cStateSchema = "zunic-bus-state/1";

/// Writes the state record by record: it needs no memory for the whole text. The stream reports failures.
void writeState(std::ostream& out, const BusState& state);

/// Reads what `writeState` wrote, and what later versions may have added to it. Throws NoState.
BusState readState(std::istream& in);

} // namespace Inspect

#endif
