#include "writer/dot/oxa_zunic_enquirer_interface_dot_file.h"

namespace Oxa {

OxaZunicEnquirerInterfaceDotFile::OxaZunicEnquirerInterfaceDotFile(const std::string& outputDirectory)
    : OxaZunicEnquirerWriterInterface(outputDirectory)
{
    mOutputFilePath = mOutputDir + "/interfaces_communicators_info.dot";
}

OxaResult OxaZunicEnquirerInterfaceDotFile::writeData(const CommunicatorList& communicators,
                                                      const InterfaceMap& interfaces, LinkMap& links)
{
    OxaResult result = createOutputFile();
    if (result == OxaResult::cOk) {
        result = createGraph(interfaces, communicators, &mOutputFile, links);
        mOutputFile.close();
    }
    return result;
}

OxaResult OxaZunicEnquirerInterfaceDotFile::createGraph(const InterfaceMap& interfaces,
                                                        const CommunicatorList& communicators, std::ofstream* out,
                                                        LinkMap& links)
{
    *out << "digraph RegisteredInterfaces { " << std::endl;
    OxaResult result = createStructs(interfaces, "Skeleton", out);
    if (result == OxaResult::cOk) {
        result = createStructs(interfaces, "Stub", out);
        if (result == OxaResult::cOk) {
            result = createCommunuicatorInterfaces(interfaces, communicators, out);
            if (result == OxaResult::cOk) {
                showLinks(interfaces, out, links);
            }
            addLegend(out);
        }
    }
    *out << "}" << std::endl;
    return result;
}

void OxaZunicEnquirerInterfaceDotFile::addLegend(std::ofstream* out)
{
    *out << std::endl;
    *out << std::endl;
    *out << R"(  subgraph clusterLegend {)" << std::endl;
    *out << R"(  label="Legend")" << std::endl;
    *out << R"(  "Skeleton \nInterface" [fontsize=8,shape=rectangle,style=filled, color="yellow"])" << std::endl;
    *out << R"(  "Stub \nInterface" [fontsize=8,shape=rectangle, style=filled, color="green"])" << std::endl;
    *out << R"(  "Required \nInterface" [fontsize=8,shape=rectangle,style=filled, color="lightblue"])" << std::endl;
    *out << R"(  })" << std::endl;
    *out << std::endl;
}

} // namespace Oxa
