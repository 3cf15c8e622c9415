#include "writer/text/connections.h"
#include "writer/text/oxa_zunic_enquirer_interface_text_file.h"

#include <limits>
#include <list>
#include <set>

namespace Oxa {

using OxaZunic::OxaZunicInterfaceInformation;

OxaResult OxaZunicEnquirerInterfaceTextFile::writeInterfacesFile(const InterfaceMap& interfaces, std::ofstream* out,
                                                                 LinkMap& links)
{
    OxaResult result = OxaResult::cFailed;
    const Connections connections(interfaces, links);
    std::set<std::uint16_t> communicatorIds;
    createHeader(out, "INTERFACES LIST     ");
    for (const auto& [id, info] : interfaces) {
        result = OxaResult::cOk;
        if (info.mCommunicatorId != ChannelLayout::cNoCommunicator) {
            communicatorIds.insert(info.mCommunicatorId);
        }
        writeInterfaceBlock(info, out);
        showAvailableFunctions(info, out);
        connections.write(*out, info.mInterfaceId);
        *out << std::endl;
    }
    *out << "\n\nNumber of communicator threads running: " << communicatorIds.size() << "\n\n";
    return result;
}

void OxaZunicEnquirerInterfaceTextFile::writeInterfaceBlock(const OxaZunicInterfaceInformation& info,
                                                            std::ofstream* out)
{
    *out << "InterfaceName:   " << decodeInterface(info, "mInterfaceName") << std::endl;
    *out << "RoleName:   " << decodeInterface(info, "mRoleName") << std::endl;
    *out << "DomainName:   " << decodeInterface(info, "mDomainName") << std::endl;
    *out << "Type:   " << decodeInterface(info, "type") << std::endl;
    *out << "Version:   " << decodeInterface(info, "version") << std::endl;
    *out << "InterfaceId:  " << decodeInterface(info, "InterfaceId") << std::endl;
    if (info.mCommunicatorId == ChannelLayout::cNoCommunicator) {
        *out << "CommunicatorId:  n/a\n";
    } else {
        *out << "CommunicatorId:  " << decodeInterface(info, "CommunicatorId") << std::endl;
    }
    *out << "RegistrationState:  " << decodeInterface(info, "RegistrationState") << std::endl;
    *out << "FunctionStorageRangeLocation:  " << decodeInterface(info, "FunctionStorageRangeLocation") << std::endl;
}

void OxaZunicEnquirerInterfaceTextFile::showAvailableFunctions(const OxaZunicInterfaceInformation& info,
                                                               std::ofstream* out)
{
    std::list<std::string> functions;
    if (decodeFunctionStorage(info, mMemoryDispatcher, functions) != 0 || functions.empty()) {
        return;
    }
    *out << "Available functions [id | name]:" << std::endl;
    for (const std::string& function : functions) {
        *out << function << std::endl;
    }
}

void OxaZunicEnquirerInterfaceTextFile::showConnectedInterfaces(const InterfaceMap& interfaces,
                                                                std::uint32_t interfaceId, std::ofstream* out,
                                                                LinkMap& links)
{
    if (interfaceId <= std::numeric_limits<std::uint16_t>::max()) {
        Connections(interfaces, links).write(*out, static_cast<std::uint16_t>(interfaceId));
    }
}

} // namespace Oxa
