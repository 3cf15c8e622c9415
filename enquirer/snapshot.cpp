#include "enquirer/snapshot.h"

#include <cstring>
#include <string>

namespace Oxa {

namespace {

using namespace ChannelLayout;

bool isInUse(const InterfaceEntry& entry)
{
    return entry.state == oxa_zunic_registration_state_registered ||
           entry.state == oxa_zunic_registration_state_preregistered;
}

/// A name ends at its NUL or at the end of its field.
std::string decodeName(const char (&field)[cNameSize])
{
    return {field, strnlen(field, cNameSize)};
}

OxaZunic::OxaZunicInterfaceInformation decodeInterfaceEntry(const InterfaceEntry& entry)
{
    const Version version(entry.version[0], entry.version[1], entry.version[2]);
    const UUID uuid(decodeName(entry.interfaceName), decodeName(entry.roleName), decodeName(entry.domainName),
                    entry.type, version);
    const OxaZunic::OxaZunicRangeLocation functions(entry.functionStorageManagerIndex, entry.functionStorageRangeIndex);
    return {uuid, entry.communicatorId, entry.interfaceId, convertRegistrationState(entry.state), functions};
}

void addLinks(const InterfaceEntry& entry, LinkMap& links)
{
    const auto afterOwnLinks = links.upper_bound(entry.interfaceId);
    forEachReceiver(entry.receivers,
                    [&](std::uint16_t receiver) { links.emplace_hint(afterOwnLinks, entry.interfaceId, receiver); });
}

} // namespace

void decodeInterfaceTable(const RegistryTables& tables, InterfaceMap& interfaces, LinkMap& links)
{
    for (const InterfaceEntry& entry : tables.interfaces) {
        if (isInUse(entry)) {
            addLinks(entry, links);
            interfaces.emplace(entry.interfaceId, decodeInterfaceEntry(entry));
        }
    }
}

void decodeCommunicatorTable(const RegistryTables& tables, CommunicatorList& communicators)
{
    for (const CommunicatorEntry& entry : tables.communicators) {
        if (entry.communicatorId != cNoCommunicator) {
            communicators.emplace_back(entry.communicatorId, entry.processId, convertRegistrationState(entry.state));
        }
    }
}

} // namespace Oxa
