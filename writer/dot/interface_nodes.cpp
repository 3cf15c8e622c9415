#include "writer/dot/oxa_zunic_enquirer_interface_dot_file.h"

namespace Oxa {

// NOLINTNEXTLINE(performance-unnecessary-value-param): by value in the writer's interface.
OxaResult OxaZunicEnquirerInterfaceDotFile::createStructs(const InterfaceMap& interfaces, std::string typeText,
                                                          std::ofstream* out)
{
    OxaResult result = OxaResult::cFailed;
    const char* const registeredColor = typeText == "Stub" ? "green" : "yellow";
    *out << std::endl;
    for (const auto& [id, info] : interfaces) {
        if (decodeInterface(info, "type") != typeText) {
            continue;
        }
        result = OxaResult::cOk;
        mColor = decodeInterface(info, "RegistrationState") == "Required" ? "lightblue" : registeredColor;
        *out << typeText << id << " [fontsize=8,color= " << mColor << R"(,style=filled, shape=rectangle,label=")"
             << decodeInterface(info, "mInterfaceName") << R"(\n)" << decodeInterface(info, "mRoleName") << R"(\n)"
             << decodeInterface(info, "mDomainName") << R"(\n)" << decodeInterface(info, "version") << R"("]; )"
             << std::endl;
    }
    *out << std::endl;
    return result;
}

} // namespace Oxa
