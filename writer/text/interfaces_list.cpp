#include "writer/text/link_sources.h"
#include "writer/text/oxa_zunic_enquirer_interface_text_file.h"

#include <algorithm>
#include <limits>
#include <list>
#include <set>

namespace Oxa {

using OxaZunic::OxaZunicInterfaceInformation;

namespace {

/// Writes a line about the interface `connectedId`, unless the snapshot lacks it.
void writeConnection(std::ostream& out, const char* label, const InterfaceMap& interfaces, std::uint16_t connectedId)
{
    const auto connected = interfaces.find(connectedId);
    if (connected != interfaces.end()) {
        out << label << connected->second.mUuid.mRoleName << "(" << connectedId << ")" << std::endl;
    }
}

} // namespace

OxaResult OxaZunicEnquirerInterfaceTextFile::writeInterfacesFile(const InterfaceMap& interfaces, std::ofstream* out,
                                                                 LinkMap& links)
{
    OxaResult result = OxaResult::cFailed;
    const LinkSources sources(links);
    std::set<std::uint16_t> communicatorIds;
    createHeader(out, "INTERFACES LIST     ");
    for (const auto& [id, info] : interfaces) {
        result = OxaResult::cOk;
        if (info.mCommunicatorId != ChannelLayout::cNoCommunicator) {
            communicatorIds.insert(info.mCommunicatorId);
        }
        writeInterfaceBlock(info, out);
        showAvailableFunctions(info, out);
        showConnectedInterfaces(interfaces, info.mInterfaceId, out, links, sources);
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
    showConnectedInterfaces(interfaces, interfaceId, out, links, LinkSources(links));
}

// Follows the order of the LinkMap: links to the interface held by lower ids, its own links, links held by higher ids.
void OxaZunicEnquirerInterfaceTextFile::showConnectedInterfaces(const InterfaceMap& interfaces,
                                                                std::uint32_t interfaceId, std::ofstream* out,
                                                                const LinkMap& links, const LinkSources& sources)
{
    if (interfaceId > std::numeric_limits<std::uint16_t>::max()) {
        return;
    }
    const auto id = static_cast<std::uint16_t>(interfaceId);
    const auto writeSkeleton = [&](std::uint16_t connected) {
        writeConnection(*out, "Connected Skeleton: ", interfaces, connected);
    };
    const auto holders = sources.of(id);
    const auto lowerEnd = std::lower_bound(holders.begin(), holders.end(), id);
    const auto higherBegin = std::upper_bound(lowerEnd, holders.end(), id);

    std::for_each(holders.begin(), lowerEnd, writeSkeleton);
    const auto [ownBegin, ownEnd] = links.equal_range(id);
    for (auto link = ownBegin; link != ownEnd; ++link) {
        if (link->second == id) {
            writeSkeleton(id);
        }
        writeConnection(*out, "Connected Stub: ", interfaces, link->second);
    }
    std::for_each(higherBegin, holders.end(), writeSkeleton);
}

} // namespace Oxa
