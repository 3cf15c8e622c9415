#ifndef ZUNIC_DEMO_PROCESS_READER_H
#define ZUNIC_DEMO_PROCESS_READER_H

#include "interface_references.h"
#include "scenario.h"
#include "scenario_place.h"

namespace ZunicDemo {

/// How many copies of the entry at `place` there are: its "count", or 1.
std::uint64_t readCount(const JsonPlace& place);

/// Reads the processes with all that they register into `scenario`.
InterfaceReferences readProcesses(const JsonPlace& root, Scenario& scenario);

} // namespace ZunicDemo

#endif
