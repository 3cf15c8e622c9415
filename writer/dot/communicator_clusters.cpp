#include "writer/dot/oxa_zunic_enquirer_interface_dot_file.h"

#include <iterator>

namespace Oxa {

namespace {

/// Keeps the numbers of the clusters inside a process apart from those of the first hundred communicators.
constexpr std::uint32_t cInnerClusterOffset = 100;

} // namespace

OxaResult OxaZunicEnquirerInterfaceDotFile::createCommunuicatorInterfaces(const InterfaceMap& interfaces,
                                                                          const CommunicatorList& communicators,
                                                                          std::ofstream* out)
{
    for (const OxaZunic::OxaZunicCommunicatorInformation& info : communicators) {
        mProcessCommunicators.emplace(info.mProcessId, info.mCommunicatorId);
    }
    std::string applicationName;
    NodeMap nodes;
    for (const auto& [id, info] : interfaces) {
        nodes.emplace(info.mCommunicatorId, decodeInterface(info, "type") + std::to_string(id) + ";");
    }
    std::uint32_t cluster = 0;
    for (auto process = mProcessCommunicators.begin(); process != mProcessCommunicators.end();) {
        const auto end = mProcessCommunicators.upper_bound(process->first);
        const bool hasSeveral = std::next(process) != end;
        *out << "subgraph cluster_" << cluster << "  {" << std::endl;
        for (; process != end; ++process) {
            if (hasSeveral) {
                *out << std::endl;
                *out << "   subgraph cluster_" << cluster + cInnerClusterOffset << "  {" << std::endl;
            }
            writeCluster(out, process->first, process->second, nodes, applicationName);
            if (hasSeveral && std::next(process) == end) {
                *out << "}" << std::endl;
                *out << std::endl;
            }
            ++cluster;
            *out << std::endl;
        }
    }
    return mProcessCommunicators.empty() ? OxaResult::cFailed : OxaResult::cOk;
}

/// Writes what stands inside the braces of a communicator's cluster, and the closing one.
void OxaZunicEnquirerInterfaceDotFile::writeCluster(std::ofstream* out, std::uint32_t processId,
                                                    std::uint16_t communicatorId, const NodeMap& nodes,
                                                    std::string& applicationName)
{
    *out << "   style=filled;" << std::endl;
    *out << "   color=lightgrey;" << std::endl;
    *out << "   node [style=filled,color=white];" << std::endl;
    *out << R"(   label = "Comunicator #)" << communicatorId << " - ProcessId : " << processId;
    if (get_app_name(processId, applicationName) == OxaResult::cOk) {
        *out << " - AppName : " << applicationName;
    }
    *out << R"(")" << std::endl;
    *out << "   ";
    const auto [first, last] = nodes.equal_range(communicatorId);
    for (auto node = first; node != last; ++node) {
        *out << node->second;
    }
    *out << std::endl;
    *out << "   }" << std::endl;
    *out << std::endl;
}

} // namespace Oxa
