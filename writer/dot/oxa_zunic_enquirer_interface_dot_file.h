#ifndef WRITER_DOT_OXA_ZUNIC_ENQUIRER_INTERFACE_DOT_FILE_H
#define WRITER_DOT_OXA_ZUNIC_ENQUIRER_INTERFACE_DOT_FILE_H

#include "writer/oxa_zunic_enquirer_writer_interface.h"

#include <cstdint>
#include <fstream>
#include <map>
#include <string>

namespace Oxa {

/// Writes the registry as a graph in the DOT language: interfaces as nodes, communicators as clusters, links as edges.
/// Names from the registry are written as they are, without any escaping. One graph in the life of a writer.
class OxaZunicEnquirerInterfaceDotFile : public OxaZunicEnquirerWriterInterface
{
public:
    explicit OxaZunicEnquirerInterfaceDotFile(const std::string& outputDirectory);

    OxaResult writeData(const CommunicatorList& communicators, const InterfaceMap& interfaces, LinkMap& links) override;

    /// Writes the whole graph. Stops after the first section of nodes that is empty; cFailed then, and when there are
    /// no communicators.
    OxaResult createGraph(const InterfaceMap& interfaces, const CommunicatorList& communicators, std::ofstream* out,
                          LinkMap& links);

    /// Writes the nodes of the type `typeText`, "Skeleton" or "Stub". cFailed when there is none.
    OxaResult createStructs(const InterfaceMap& interfaces, std::string typeText, std::ofstream* out);

    /// Writes a cluster for each communicator, grouped by process. cFailed when there is none.
    OxaResult createCommunuicatorInterfaces(const InterfaceMap& interfaces, const CommunicatorList& communicators,
                                            std::ofstream* out);

    /// Writes an edge for each link, from the stub to the skeleton that holds it.
    void showLinks(const InterfaceMap& interfaces, std::ofstream* out, LinkMap& links);

    void addLegend(std::ofstream* out);

private:
    /// From the id of a communicator to the nodes of its interfaces, such as "Stub7;".
    using NodeMap = std::multimap<std::uint16_t, std::string>;

    void writeCluster(std::ofstream* out, std::uint32_t processId, std::uint16_t communicatorId, const NodeMap& nodes,
                      std::string& applicationName);

    std::multimap<std::uint32_t, std::uint16_t> mProcessCommunicators;
    std::string mColor;
};

} // namespace Oxa

#endif
