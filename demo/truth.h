#ifndef ZUNIC_DEMO_TRUTH_H
#define ZUNIC_DEMO_TRUTH_H

#include "scenario.h"
#include "traffic_memory.h"

#include <ostream>

namespace ZunicDemo {

/// Writes what was sent until now (docs/scenario.md) as JSON lines. The traffic has to be stopped.
void writeTruth(const Scenario& scenario, const TrafficMemory& traffic, std::ostream& out);

} // namespace ZunicDemo

#endif
