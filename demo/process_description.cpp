#include "process_description.h"

#include <nlohmann/json.hpp>

namespace ZunicDemo {

NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(InterfaceEntry, id, name, role, domain, type, version, state, functions)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(CommunicatorEntry, id, state, interfaces)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(ProcessEntry, name, leaves, communicators)

std::string describeProcess(const ProcessEntry& process)
{
    return nlohmann::json(process).dump();
}

ProcessEntry readProcessDescription(const std::string& description)
{
    return nlohmann::json::parse(description).get<ProcessEntry>();
}

} // namespace ZunicDemo
