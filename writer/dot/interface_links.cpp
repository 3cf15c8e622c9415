#include "writer/dot/oxa_zunic_enquirer_interface_dot_file.h"

namespace Oxa {

void OxaZunicEnquirerInterfaceDotFile::showLinks(const InterfaceMap& interfaces, std::ofstream* out, LinkMap& links)
{
    *out << std::endl;
    for (const auto& [id, info] : interfaces) {
        const bool isRequired = decodeInterface(info, "RegistrationState") == "Required";
        mColor = isRequired ? "blue" : "black";
        const char* const attributes = isRequired ? "[style = dotted, color=\"" : "[color=\"";
        const auto [first, last] = links.equal_range(id);
        for (auto link = first; link != last; ++link) {
            *out << "Stub" << link->second << "->Skeleton" << id << attributes << mColor << "\"]" << std::endl;
        }
    }
}

} // namespace Oxa
