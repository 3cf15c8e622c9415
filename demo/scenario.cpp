#include "scenario.h"

namespace ZunicDemo {

namespace {

std::string counted(std::size_t number, const std::string& one, const std::string& many)
{
    return std::to_string(number) + " " + (number == 1 ? one : many);
}

bool isMessage(const MessageEntry& entry)
{
    return entry.state == ZunicHosting::SlotState::written || entry.state == ZunicHosting::SlotState::message;
}

} // namespace

std::vector<std::uint16_t> idsOf(const InterfaceSet& set)
{
    std::vector<std::uint16_t> ids;
    for (std::size_t id = 0; id < set.size(); ++id) {
        if (set.test(id)) {
            ids.push_back(static_cast<std::uint16_t>(id));
        }
    }
    return ids;
}

std::size_t interfaceCount(const Scenario& scenario)
{
    std::size_t count = 0;
    for (const ProcessEntry& process : scenario.processes) {
        for (const CommunicatorEntry& communicator : process.communicators) {
            count += communicator.interfaces.size();
        }
    }
    return count;
}

std::string summary(const Scenario& scenario)
{
    std::size_t processes = 0;
    std::size_t communicators = 0;
    for (const ProcessEntry& process : scenario.processes) {
        processes += process.leaves ? 0 : 1;
        communicators += process.communicators.size();
    }
    std::size_t links = 0;
    for (const auto& [holder, receivers] : scenario.links) {
        links += receivers.count();
    }
    std::size_t messages = 0;
    for (const MessageEntry& entry : scenario.messages) {
        messages += isMessage(entry) ? 1 : 0;
    }
    return counted(processes, "process", "processes") + ", " + counted(communicators, "communicator", "communicators") +
           ", " + counted(interfaceCount(scenario), "interface", "interfaces") + ", " +
           counted(links, "link", "links") + ", " + counted(messages, "message", "messages") +
           (scenario.traffic.empty() ? "" : ", " + counted(scenario.traffic.size(), "flow", "flows"));
}

} // namespace ZunicDemo
