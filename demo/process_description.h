#ifndef ZUNIC_DEMO_PROCESS_DESCRIPTION_H
#define ZUNIC_DEMO_PROCESS_DESCRIPTION_H

#include "scenario.h"

#include <string>

namespace ZunicDemo {

// What a participant registers, as the host sends it: one line of JSON without line feed.

std::string describeProcess(const ProcessEntry& process);

/// Throws a std::exception when `description` is not one of describeProcess.
ProcessEntry readProcessDescription(const std::string& description);

} // namespace ZunicDemo

#endif
