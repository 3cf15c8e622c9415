#include "process_description.h"

#include <nlohmann/json.hpp>

namespace ZunicDemo {

NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(InterfaceEntry, id, name, role, domain, type, version, state, functions)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(CommunicatorEntry, id, state, interfaces)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(ProcessEntry, name, leaves, communicators)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(FlowReceiver, interface, process, readingTime, stopsAfter, resumesAfter)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(FlowEntry, sender, process, receivers, burst, period, limit, userDataSize,
                                   dataEntries, external)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(TrafficDescription, memory, process, flows)

std::string describeProcess(const ProcessEntry& process)
{
    return nlohmann::json(process).dump();
}

ProcessEntry readProcessDescription(const std::string& description)
{
    return nlohmann::json::parse(description).get<ProcessEntry>();
}

std::string describeTraffic(const TrafficDescription& traffic)
{
    return nlohmann::json(traffic).dump();
}

TrafficDescription readTrafficDescription(const std::string& description)
{
    return nlohmann::json::parse(description).get<TrafficDescription>();
}

} // namespace ZunicDemo
