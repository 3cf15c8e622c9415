#include "writer/text/oxa_zunic_enquirer_interface_text_file.h"

#include <algorithm>
#include <limits>
#include <list>
#include <set>

namespace Oxa {

using OxaZunic::OxaZunicInterfaceInformation;

namespace {

/// A line for each link from and to the interface `id`, in the order of the LinkMap: first the links to it that lower
/// ids hold, then its own, then those that higher ids hold.
void writeConnections(const Writer::ReportIndex& index, const LinkMap& links, std::uint16_t id, std::ostream& out)
{
    Writer::LineWriter lines(out);
    const auto writeLine = [&](const char* label, std::uint16_t connected) {
        if (const std::string* const name = index.nameOf(connected)) {
            lines << label << *name << Writer::endLine;
        }
    };
    const auto writeSkeleton = [&](std::uint16_t holder) { writeLine("Connected Skeleton: ", holder); };

    const auto holders = index.holdersOf(id);
    const auto lowerEnd = std::lower_bound(holders.begin(), holders.end(), id);
    std::for_each(holders.begin(), lowerEnd, writeSkeleton);
    const auto [ownBegin, ownEnd] = links.equal_range(id);
    for (auto link = ownBegin; link != ownEnd; ++link) {
        if (link->second == id) {
            writeSkeleton(id);
        }
        writeLine("Connected Stub: ", link->second);
    }
    std::for_each(std::upper_bound(lowerEnd, holders.end(), id), holders.end(), writeSkeleton);
}

} // namespace

OxaResult OxaZunicEnquirerInterfaceTextFile::writeInterfacesFile(const InterfaceMap& interfaces, std::ofstream* out,
                                                                 LinkMap& links)
{
    OxaResult result = OxaResult::cFailed;
    std::set<std::uint16_t> communicatorIds;
    createHeader(out, "INTERFACES LIST     ");
    for (const auto& [id, info] : interfaces) {
        result = OxaResult::cOk;
        if (info.mCommunicatorId != Channel::cNoCommunicator) {
            communicatorIds.insert(info.mCommunicatorId);
        }
        writeInterfaceBlock(info, out);
        showAvailableFunctions(info, out);
        showConnectedInterfaces(interfaces, info.mInterfaceId, out, links);
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
    if (info.mCommunicatorId == Channel::cNoCommunicator) {
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
    if (decodeFunctionStorage(info, mMemoryDispatcher, functions) != 0 || functions.empty() ||
        mFunctionBytesLeft == 0) {
        return;
    }
    *out << "Available functions [id | name]:" << std::endl;
    for (const std::string& function : functions) {
        if (function.size() > mFunctionBytesLeft) {
            mFunctionBytesLeft = 0;
            return;
        }
        mFunctionBytesLeft -= function.size();
        *out << function << std::endl;
    }
}

void OxaZunicEnquirerInterfaceTextFile::showConnectedInterfaces(const InterfaceMap& interfaces,
                                                                std::uint32_t interfaceId, std::ofstream* out,
                                                                LinkMap& links)
{
    if (interfaceId > std::numeric_limits<std::uint16_t>::max()) {
        return;
    }
    const bool isIndexed = mIndex != nullptr && mIndex->isOf(interfaces) && mIndex->isOf(links);
    const auto index = isIndexed ? mIndex : std::make_shared<const Writer::ReportIndex>(interfaces, links);
    writeConnections(*index, links, static_cast<std::uint16_t>(interfaceId), *out);
}

} // namespace Oxa
