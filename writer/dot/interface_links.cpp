#include "writer/dot/oxa_zunic_enquirer_interface_dot_file.h"

#include "writer/line_writer.h"

namespace Oxa {

void OxaZunicEnquirerInterfaceDotFile::showLinks(const InterfaceMap& interfaces, std::ofstream* out, LinkMap& links)
{
    *out << std::endl;
    LineWriter edges(*out);
    for (const auto& [id, info] : interfaces) {
        const bool isRequired = decodeInterface(info, "RegistrationState") == "Required";
        mColor = isRequired ? "blue" : "black";
        const char* const attributes = isRequired ? "[style = dotted, color=\"" : "[color=\"";
        const std::string edgeEnd = "->Skeleton" + std::to_string(id) + attributes + mColor + "\"]";
        const auto [first, last] = links.equal_range(id);
        for (auto link = first; link != last; ++link) {
            edges << "Stub" << link->second << edgeEnd << endLine;
        }
    }
}

} // namespace Oxa
