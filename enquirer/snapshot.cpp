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

/// Fills the record in place: the names of a full registry are worth no second copy.
void decodeInterfaceEntry(const InterfaceEntry& entry, OxaZunic::OxaZunicInterfaceInformation& info)
{
    info.mUuid.mInterfaceName = decodeName(entry.interfaceName);
    info.mUuid.mRoleName = decodeName(entry.roleName);
    info.mUuid.mDomainName = decodeName(entry.domainName);
    info.mUuid.mType = entry.type;
    info.mUuid.mVersion = Version(entry.version[0], entry.version[1], entry.version[2]);
    info.mCommunicatorId = entry.communicatorId;
    info.mInterfaceId = entry.interfaceId;
    info.mRegistrationState = convertRegistrationState(entry.state);
    info.mFunctionStorageRangeLocation = {entry.functionStorageManagerIndex, entry.functionStorageRangeIndex};
}

void addLinks(const InterfaceEntry& entry, LinkMap& links)
{
    const auto afterOwnLinks = links.upper_bound(entry.interfaceId);
    forEachReceiver(entry.receivers,
                    [&](std::uint16_t receiver) { links.emplace_hint(afterOwnLinks, entry.interfaceId, receiver); });
}

} // namespace

void decodeInterfaceTable(const RegistryTables& tables, InterfaceMap& interfaces)
{
    for (const InterfaceEntry& entry : tables.interfaces) {
        if (!isInUse(entry)) {
            continue;
        }
        const auto [place, isNew] = interfaces.try_emplace(entry.interfaceId);
        if (isNew) {
            decodeInterfaceEntry(entry, place->second);
        }
    }
}

void decodeLinks(const RegistryTables& tables, LinkMap& links)
{
    for (const InterfaceEntry& entry : tables.interfaces) {
        if (isInUse(entry)) {
            addLinks(entry, links);
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
