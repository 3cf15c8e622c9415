#include "truth.h"

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

namespace ZunicDemo {

namespace {

using Json = nlohmann::ordered_json;

struct FlowTotals
{
    std::uint64_t sent = 0;
    std::uint64_t dropped = 0;
};

std::vector<std::uint16_t> receiversOf(const FlowEntry& flow)
{
    std::vector<std::uint16_t> ids;
    for (const FlowReceiver& receiver : flow.receivers) {
        ids.push_back(receiver.interface);
    }
    return ids;
}

std::vector<FlowTotals> totalsOf(const Scenario& scenario, std::span<const TrafficRecord> records)
{
    std::vector<FlowTotals> totals(scenario.traffic.size());
    for (const TrafficRecord& record : records) {
        FlowTotals& flow = totals[record.flow];
        ++(record.counter == 0 ? flow.dropped : flow.sent);
    }
    return totals;
}

Json headOf(const Scenario& scenario, const TrafficMemory& traffic)
{
    const std::span<const TrafficRecord> records = traffic.records();
    const std::vector<FlowTotals> totals = totalsOf(scenario, records);
    FlowTotals all;
    Json flows = Json::array();
    for (std::size_t i = 0; i < totals.size(); ++i) {
        const FlowEntry& flow = scenario.traffic[i];
        all.sent += totals[i].sent;
        all.dropped += totals[i].dropped;
        flows.push_back({{"sender", flow.sender},
                         {"receivers", receiversOf(flow)},
                         {"userDataSize", flow.userDataSize},
                         {"dataEntries", flow.dataEntries},
                         {"external", flow.external == cNoMemoryManager ? Json() : Json(flow.external)},
                         {"sent", totals[i].sent},
                         {"dropped", totals[i].dropped}});
    }
    return {{"format", "zunic-demo-truth/1"},
            {"channel", scenario.channel},
            {"messageSlots", scenario.messageSlots},
            {"from", traffic.start()},
            // What came behind the last record that there was room for is missing.
            {"to", traffic.isFull() ? records.back().sent : monotonicNow()},
            {"sent", all.sent},
            {"dropped", all.dropped},
            {"flows", flows}};
}

/// The members of a record that are the same for all of a flow.
std::string flowMembers(std::size_t index, const FlowEntry& flow)
{
    return "\"flow\":" + std::to_string(index) + ",\"sender\":" + std::to_string(flow.sender) +
           ",\"receivers\":" + Json(receiversOf(flow)).dump() +
           ",\"userDataSize\":" + std::to_string(flow.userDataSize);
}

} // namespace

void writeTruth(const Scenario& scenario, const TrafficMemory& traffic, std::ostream& out)
{
    out << headOf(scenario, traffic).dump() << '\n';
    std::vector<std::string> members;
    for (const FlowEntry& flow : scenario.traffic) {
        members.push_back(flowMembers(members.size(), flow));
    }
    for (const TrafficRecord& record : traffic.records()) {
        if (record.counter == 0) {
            out << "{\"dropped\":" << record.sent << ',' << members[record.flow] << "}\n";
            continue;
        }
        out << "{\"writerCounter\":" << record.counter << ",\"slot\":" << record.slot << ",\"sent\":" << record.sent
            << ",\"freed\":" << (record.freed == 0 ? "null" : std::to_string(record.freed)) << ','
            << members[record.flow] << "}\n";
    }
}

} // namespace ZunicDemo
