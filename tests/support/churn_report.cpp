#include "support/churn_report.h"

#include "churn.h"

#include <cstdint>
#include <cstdio>
#include <map>
#include <sstream>
#include <utility>
#include <vector>

namespace TestSupport {

namespace {

struct Interface
{
    std::map<std::string, std::string> fields;
    std::multiset<std::string> connections;

    std::string operator[](const std::string& field) const
    {
        const auto found = fields.find(field);
        return found == fields.end() ? "(none)" : found->second;
    }
};

std::vector<Interface> interfacesIn(const std::string& report)
{
    std::vector<Interface> interfaces;
    std::istringstream lines(report.substr(0, report.find("\nNumber of communicator threads")));
    for (std::string line; std::getline(lines, line);) {
        const std::string key = line.substr(0, line.find(':'));
        if (key == "InterfaceName") {
            interfaces.emplace_back();
        }
        if (interfaces.empty() || key.size() == line.size()) {
            continue;
        }
        if (key.starts_with("Connected")) {
            interfaces.back().connections.insert(line);
        } else {
            interfaces.back().fields[key] = line.substr(line.find_first_not_of(' ', key.size() + 1));
        }
    }
    return interfaces;
}

/// The interfaces of one pair, by type.
using Pair = std::map<std::string, Interface>;
using PairsOfProcess = std::map<std::uint64_t, Pair>;

bool isWhole(const Interface& interface, pid_t process, std::uint64_t sequence)
{
    const auto version = ZunicDemo::churnVersion(sequence);
    return interface["InterfaceName"] == ZunicDemo::churnName(process, sequence) &&
           interface["RoleName"] == ZunicDemo::churnRole(sequence) &&
           interface["Version"] ==
               std::to_string(version[0]) + "." + std::to_string(version[1]) + "." + std::to_string(version[2]) &&
           interface["RegistrationState"] == "Registered" &&
           (interface["Type"] == "Stub" || interface["Type"] == "Skeleton");
}

/// Each interface of a pair is connected to the other one, both ways.
bool isConnectedTo(const Interface& interface, const Interface& other)
{
    const std::string end = other["RoleName"] + "(" + other["InterfaceId"] + ")";
    return interface.connections == std::multiset<std::string>{"Connected Stub: " + end, "Connected Skeleton: " + end};
}

std::string faultIn(const PairsOfProcess& pairs)
{
    if (pairs.size() > ZunicDemo::Churn::cLivingPairs ||
        pairs.rbegin()->first - pairs.begin()->first + 1 != pairs.size()) {
        return "a gap in the sequence, or too many pairs";
    }
    for (const auto& [sequence, pair] : pairs) {
        if (pair.size() != 2) {
            return "half of pair " + std::to_string(sequence);
        }
        if (!isConnectedTo(pair.at("Stub"), pair.at("Skeleton")) ||
            !isConnectedTo(pair.at("Skeleton"), pair.at("Stub"))) {
            return "pair " + std::to_string(sequence) + " is not connected as it should be";
        }
    }
    return "";
}

} // namespace

std::string churnFaultIn(const std::string& report, const std::set<pid_t>& alive)
{
    std::map<pid_t, PairsOfProcess> found;
    for (const Interface& interface : interfacesIn(report)) {
        int process = 0;
        unsigned long long sequence = 0;
        // NOLINTNEXTLINE(cert-err34-c): a number that does not fit makes a name that differs.
        std::sscanf(interface["InterfaceName"].c_str(), "Churn/%d/%llu", &process, &sequence);
        if (!isWhole(interface, process, sequence) || interface["DomainName"] != ZunicDemo::Churn::cChurnDomain) {
            return "not whole: " + interface["InterfaceName"] + " in\n" + report;
        }
        if (!found[process][sequence].emplace(interface["Type"], interface).second) {
            return "twice: " + interface["InterfaceName"] + " in\n" + report;
        }
    }
    for (const pid_t process : alive) {
        std::string fault = found[process].empty() ? "no pairs" : faultIn(found[process]);
        if (!fault.empty()) {
            return fault.append(" of process ").append(std::to_string(process)).append(" in\n").append(report);
        }
    }
    return "";
}

} // namespace TestSupport
