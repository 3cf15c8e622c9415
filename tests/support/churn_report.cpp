#include "support/churn_report.h"

#include "churn.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <map>
#include <optional>

namespace TestSupport {

namespace {

struct Interface
{
    int process = 0;
    unsigned long long sequence = 0;
    std::string type;
    std::string end; ///< as a connection names it
    std::string connections;
};

/// Absent when it is not as a round of churn has made it.
std::optional<Interface> readWhole(const std::string& block)
{
    Interface interface;
    char role[21] = {};
    char type[9] = {};
    std::array<std::uint16_t, 3> version{};
    unsigned id = 0;
    int size = 0;
    // NOLINTNEXTLINE(cert-err34-c): a number that does not fit makes a name that differs.
    std::sscanf(block.c_str(),
                "InterfaceName: Churn/%d/%llu RoleName: %20s DomainName: churn Type: %8s Version: %hu.%hu.%hu "
                "InterfaceId: %u CommunicatorId: %*u RegistrationState: Registered "
                "FunctionStorageRangeLocation: %*u %*u %n",
                &interface.process, &interface.sequence, role, type, &version[0], &version[1], &version[2], &id, &size);
    interface.type = type;
    if (size == 0 || role != ZunicDemo::churnRole(interface.sequence) ||
        version != ZunicDemo::churnVersion(interface.sequence) ||
        (interface.type != "Stub" && interface.type != "Skeleton")) {
        return std::nullopt;
    }
    interface.end = std::string(role).append("(").append(std::to_string(id)).append(")\n");
    interface.connections = block.substr(static_cast<std::size_t>(size));
    return interface;
}

/// The interfaces of one pair, by type.
using Pair = std::map<std::string, Interface>;
using PairsOfProcess = std::map<std::uint64_t, Pair>;

/// Each interface of a pair is connected to the other one, both ways.
bool isConnectedTo(const Interface& interface, const Interface& other)
{
    const std::string stub = "Connected Stub: " + other.end;
    const std::string skeleton = "Connected Skeleton: " + other.end;
    return interface.connections == stub + skeleton || interface.connections == skeleton + stub;
}

std::string faultIn(const PairsOfProcess& pairs)
{
    if (pairs.empty() || pairs.size() > ZunicDemo::Churn::cLivingPairs ||
        pairs.rbegin()->first - pairs.begin()->first + 1 != pairs.size()) {
        return "a gap in the sequence, no pairs or too many";
    }
    for (const auto& [sequence, pair] : pairs) {
        if (pair.size() != 2 || !isConnectedTo(pair.at("Stub"), pair.at("Skeleton")) ||
            !isConnectedTo(pair.at("Skeleton"), pair.at("Stub"))) {
            return "half of pair " + std::to_string(sequence) + ", or not connected as it should be";
        }
    }
    return "";
}

} // namespace

std::string churnFaultIn(const std::string& report, const std::set<pid_t>& alive)
{
    std::map<pid_t, PairsOfProcess> found;
    constexpr auto cName = "InterfaceName:";
    for (std::size_t at = report.find(cName); at != std::string::npos; at = report.find(cName, at + 1)) {
        const std::string block = report.substr(at, report.find("\n\n", at) + 1 - at);
        const std::optional<Interface> interface = readWhole(block);
        if (!interface) {
            return "not whole:\n" + block;
        }
        if (!found[interface->process][interface->sequence].emplace(interface->type, *interface).second) {
            return "twice:\n" + block + "in\n" + report;
        }
    }
    for (const pid_t process : alive) {
        if (const std::string fault = faultIn(found[process]); !fault.empty()) {
            return fault + " of process " + std::to_string(process) + " in\n" + report;
        }
    }
    return "";
}

} // namespace TestSupport
