#include "channel/registry_snapshot.h"

#include <cstring>
#include <sys/mman.h>

namespace Channel {

namespace {

/// One with all pages in their places: writing it does not involve the system.
std::unique_ptr<RegistryCopy> makePresentCopy()
{
    auto copy = std::make_unique_for_overwrite<RegistryCopy>();
    madvise(copy.get(), sizeof *copy, MADV_HUGEPAGE);
    if (madvise(copy.get(), sizeof copy->mTables, MADV_POPULATE_WRITE) != 0) {
        std::memset(&copy->mTables, 0, sizeof copy->mTables);
    }
    return copy;
}

/// Fills the record in place: the names of a full registry are worth no second copy.
void decodeInterfaceEntry(const InterfaceEntry& entry, OxaZunic::OxaZunicInterfaceInformation& info)
{
    info.mUuid.mInterfaceName = nameIn(entry.mInterfaceName);
    info.mUuid.mRoleName = nameIn(entry.mRoleName);
    info.mUuid.mDomainName = nameIn(entry.mDomainName);
    info.mUuid.mType = entry.mType;
    info.mUuid.mVersion = Oxa::Version(entry.mVersion[0], entry.mVersion[1], entry.mVersion[2]);
    info.mCommunicatorId = entry.mCommunicatorId;
    info.mInterfaceId = entry.mInterfaceId;
    info.mRegistrationState = Oxa::convertRegistrationState(entry.mState);
    info.mFunctionStorageRangeLocation = {entry.mFunctionStorageManagerIndex, entry.mFunctionStorageRangeIndex};
}

void addLinks(const InterfaceEntry& entry, Oxa::LinkMap& links)
{
    const auto afterOwnLinks = links.upper_bound(entry.mInterfaceId);
    forEachReceiver(entry.mReceivers,
                    [&](std::uint16_t receiver) { links.emplace_hint(afterOwnLinks, entry.mInterfaceId, receiver); });
}

} // namespace

std::unique_ptr<const RegistryCopy> copyRegistry(oxa_zunic_communication_channel* channel)
{
    auto copy = makePresentCopy();
    const std::byte* const tables = registryBase(channel) + cRegistryTables;
    oxa_mutex* const mutex = registryMutex(channel);
    if (oxa_mutex_lock(mutex) != 0) {
        return nullptr;
    }
    std::memcpy(&copy->mTables, tables, sizeof copy->mTables);
    oxa_mutex_unlock(mutex);
    return copy;
}

void decodeRegistry(const RegistryTables& tables, Oxa::InterfaceMap& interfaces, Oxa::LinkMap& links,
                    Oxa::CommunicatorList& communicators)
{
    for (const InterfaceEntry& entry : tables.mInterfaces) {
        if (!isInUse(entry)) {
            continue;
        }
        addLinks(entry, links);
        const auto [place, isNew] = interfaces.try_emplace(entry.mInterfaceId);
        if (isNew) {
            decodeInterfaceEntry(entry, place->second);
        }
    }
    for (const CommunicatorEntry& entry : tables.mCommunicators) {
        if (entry.mCommunicatorId != cNoCommunicator) {
            communicators.emplace_back(entry.mCommunicatorId, entry.mProcessId,
                                       Oxa::convertRegistrationState(entry.mState));
        }
    }
}

} // namespace Channel
