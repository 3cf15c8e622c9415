#ifndef INSPECT_VIEW_INTERFACE_TREE_H
#define INSPECT_VIEW_INTERFACE_TREE_H

#include "inspect/bus/bus_index.h"
#include "inspect/view/table.h"

#include <string>

namespace Inspect {

/// The interface, which is of the state, with its functions, those that provide it and those that use it.
std::string interfaceTree(const Interface& interface, const BusIndex& index, const TableStyle& style);

} // namespace Inspect

#endif
