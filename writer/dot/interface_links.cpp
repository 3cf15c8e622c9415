#include "writer/dot/oxa_zunic_enquirer_interface_dot_file.h"

#include "writer/line_writer.h"

namespace Oxa {

void OxaZunicEnquirerInterfaceDotFile::showLinks(const InterfaceMap& interfaces, std::ofstream* out, LinkMap& links)
{
    *out << std::endl;
    Writer::LineWriter edges(*out);
    for (const auto& [id, info] : interfaces) {
        mColor = "black";
        const std::string skeleton = "->Skeleton" + std::to_string(id);
        const bool isRequired = decodeInterface(info, "RegistrationState") == "Required";
        const auto [first, last] = links.equal_range(id);
        for (auto link = first; link != last; ++link) {
            edges << "Stub" << link->second << skeleton;
            if (isRequired) {
                mColor = "blue";
                edges << "[style = dotted, color=\"" << mColor << "\"]" << Writer::endLine;
            } else {
                edges << "[color=\"" << mColor << "\"]" << Writer::endLine;
            }
        }
    }
}

} // namespace Oxa
