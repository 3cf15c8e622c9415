#include "channel/registry_snapshot.h"

#include <cstring>
#include <sys/mman.h>
#include <unistd.h>

namespace Channel {

namespace {

/// With all pages in their places: writing it does not involve the system.
RegistryCopy makePresentCopy()
{
    GiveBack giveBack;
    auto* const tables = giveBack.mMemory.allocate_object<RegistryTables>();
    const std::size_t intoPage = reinterpret_cast<std::uintptr_t>(tables) % static_cast<std::size_t>(getpagesize());
    if (madvise(reinterpret_cast<std::byte*>(tables) - intoPage, intoPage + sizeof *tables, MADV_POPULATE_WRITE) != 0) {
        std::memset(tables, 0, sizeof *tables);
    }
    return {tables, giveBack};
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

RegistryCopy copyRegistry(oxa_zunic_communication_channel* channel, std::chrono::nanoseconds* held)
{
    RegistryCopy copy = makePresentCopy();
    const std::byte* const tables = registryBase(channel) + cRegistryTables;
    oxa_mutex* const mutex = registryMutex(channel);
    if (oxa_mutex_lock(mutex) != 0) {
        return {};
    }
    const auto begin = std::chrono::steady_clock::now();
    std::memcpy(copy.get(), tables, sizeof *copy);
    const auto end = std::chrono::steady_clock::now();
    oxa_mutex_unlock(mutex);
    if (held != nullptr) {
        *held = end - begin;
    }
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
