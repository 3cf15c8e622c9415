#ifndef INSPECT_VIEW_CELLS_H
#define INSPECT_VIEW_CELLS_H

#include "inspect/bus/bus_state.h"
#include "inspect/view/table.h"

// Cells that several tables have.

namespace Inspect {

/// Stands out: it is broken, or will not answer.
inline constexpr auto cBadColor = "red";
/// Stands out: it is not as it should be for long.
inline constexpr auto cUneasyColor = "yellow";

/// Adds a number to those that stand there already, with a comma between them.
void appendListed(std::string& text, std::uint64_t number);

Cell numberCell(std::uint64_t number);
Cell stateCell(std::uint32_t state);
Cell livingCell(Living living);
Cell applicationCell(const Process& process);
/// Seconds after the machine's boot.
Cell startedCell(const Process& process);
Cell idsCell(const IdSet& ids);

// Empty where nobody is known.
Cell applicationCell(const Communicator* owner);
Cell processIdCell(const Communicator* owner);
Cell livingCell(const Communicator* owner);
/// Of an interface; empty when no communicator is recorded.
Cell communicatorIdCell(const Interface& interface);

} // namespace Inspect

#endif
