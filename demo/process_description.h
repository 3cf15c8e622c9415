#ifndef ZUNIC_DEMO_PROCESS_DESCRIPTION_H
#define ZUNIC_DEMO_PROCESS_DESCRIPTION_H

#include "scenario.h"

#include <string>

namespace ZunicDemo {

// What a participant registers and does, as the host sends it: one line of JSON without line feed each.

std::string describeProcess(const ProcessEntry& process);

/// Throws a std::exception when `description` is not one of describeProcess.
ProcessEntry readProcessDescription(const std::string& description);

/// What a participant has to know to take part in the traffic.
struct TrafficDescription
{
    /// The path of the TrafficMemory.
    std::string memory;
    /// The number of this process among those that stay, from 0.
    std::uint32_t process = 0;
    std::vector<FlowEntry> flows;
};

std::string describeTraffic(const TrafficDescription& traffic);

/// Throws a std::exception when `description` is not one of describeTraffic.
TrafficDescription readTrafficDescription(const std::string& description);

} // namespace ZunicDemo

#endif
