#ifndef ZUNIC_DEMO_TRAFFIC_READER_H
#define ZUNIC_DEMO_TRAFFIC_READER_H

#include "interface_references.h"
#include "scenario.h"
#include "scenario_place.h"

namespace ZunicDemo {

/// Reads the traffic into `scenario`, whose processes are already there.
void readTraffic(const JsonPlace& root, const InterfaceReferences& references, Scenario& scenario);

} // namespace ZunicDemo

#endif
