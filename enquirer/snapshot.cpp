#include "enquirer/snapshot.h"

#include <algorithm>
#include <bitset>
#include <cstring>
#include <iterator>
#include <sys/mman.h>

namespace Oxa {

namespace {

using namespace ChannelLayout;

/// Fills the record in place: the names of a full registry are worth no second copy.
void decodeInterfaceEntry(const InterfaceEntry& entry, OxaZunic::OxaZunicInterfaceInformation& info)
{
    info.mUuid.mInterfaceName = nameIn(entry.interfaceName);
    info.mUuid.mRoleName = nameIn(entry.roleName);
    info.mUuid.mDomainName = nameIn(entry.domainName);
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

std::unique_ptr<RegistryCopy> RegistryCopy::makePresent()
{
    auto copy = std::make_unique_for_overwrite<RegistryCopy>();
    madvise(copy.get(), sizeof *copy, MADV_HUGEPAGE);
    if (madvise(copy.get(), sizeof tables, MADV_POPULATE_WRITE) != 0) {
        std::memset(&copy->tables, 0, sizeof tables);
    }
    return copy;
}

bool isAnyInterface(const RegistryTables& tables, const InterfaceFilter& filter)
{
    std::bitset<std::size_t{1} << 16> seen;
    return std::any_of(std::begin(tables.interfaces), std::end(tables.interfaces), [&](const InterfaceEntry& entry) {
        if (!isInUse(entry) || seen.test(entry.interfaceId)) {
            return false;
        }
        seen.set(entry.interfaceId);
        return filter.fits(entry);
    });
}

void decodeInterfaceTable(const RegistryTables& tables, InterfaceMap& interfaces, LinkMap& links)
{
    for (const InterfaceEntry& entry : tables.interfaces) {
        if (!isInUse(entry)) {
            continue;
        }
        addLinks(entry, links);
        const auto [place, isNew] = interfaces.try_emplace(entry.interfaceId);
        if (isNew) {
            decodeInterfaceEntry(entry, place->second);
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
