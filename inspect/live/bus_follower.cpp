#include "inspect/live/bus_follower.h"

#include "channel/registry_snapshot.h"
#include "inspect/live/state_parts.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <tuple>
#include <utility>

namespace Inspect {

namespace {

/// Blocks in use come and go with every message.
bool areAsLarge(const std::vector<Channel::MemoryManagerFigures>& some,
                const std::vector<Channel::MemoryManagerFigures>& others)
{
    return std::ranges::equal(some, others, [](Channel::MemoryManagerFigures one, const auto& other) {
        one.mUsedBlocks = other.mUsedBlocks;
        return one == other;
    });
}

/// Whose the interface is, as a process id; 0: nobody's.
std::uint32_t ownerOf(const Interface& interface, const std::map<std::uint16_t, std::uint32_t>& owners)
{
    const auto found = owners.find(interface.mCommunicatorId);
    return found == owners.end() ? 0 : found->second;
}

std::map<std::uint16_t, std::uint32_t> processIds(const BusState& state)
{
    std::map<std::uint16_t, std::uint32_t> ids;
    for (const Communicator& communicator : state.mCommunicators) {
        ids.try_emplace(communicator.mId, communicator.mProcessId);
    }
    return ids;
}

/// An interface that is still there has the functions that it had. To read them once more would cost time, and they may
/// be another one's in the meantime.
void keepFunctions(const BusState& before, BusState& now)
{
    const auto ownersBefore = processIds(before);
    const auto ownersNow = processIds(now);
    std::map<std::uint16_t, const Interface*> old;
    for (const Interface& interface : before.mInterfaces) {
        old.try_emplace(interface.mId, &interface);
    }
    const auto what = [](const Interface& interface) {
        return std::tie(interface.mName, interface.mRole, interface.mDomain, interface.mType, interface.mCommunicatorId,
                        interface.mFunctionStorage.mMemoryManagerIndex, interface.mFunctionStorage.mRangeIndex);
    };
    for (Interface& interface : now.mInterfaces) {
        const auto found = old.find(interface.mId);
        if (found != old.end() && what(*found->second) == what(interface) &&
            ownerOf(*found->second, ownersBefore) == ownerOf(interface, ownersNow)) {
            interface.mFunctions = found->second->mFunctions;
        }
    }
}

} // namespace

BusFollower::BusFollower(std::string channel)
    : mChannel(std::move(channel)), mTables(std::make_unique<Channel::RegistryTables>())
{}

BusFollower::~BusFollower() = default;

bool BusFollower::look()
{
    mMemory.beginAnew();
    const Attachment channel = attach(mChannel);
    BusState state;
    const Channel::RegistryCopy copy = Channel::copyRegistry(channel.get(), &state.mMutexHeld);
    if (copy == nullptr) {
        failToLock(mChannel);
    }
    readMemoryManagers(channel.get(), state.mMemoryManagers);
    const bool haveProcessesEnded = mProcesses.hasAnyEnded();
    if (mHasLooked && !haveProcessesEnded && std::memcmp(copy.get(), mTables.get(), sizeof *copy) == 0 &&
        areAsLarge(state.mMemoryManagers, mNow.mMemoryManagers)) {
        return false;
    }
    signState(mChannel, state);
    decodeTables(*copy, state);
    mProcesses.fillIn(state.mCommunicators);
    keepFunctions(mNow, state);
    readFunctions(channel.get(), state.mInterfaces);
    std::memcpy(mTables.get(), copy.get(), sizeof *copy);
    mBefore = std::exchange(mNow, std::move(state));
    mHasLooked = true;
    return true;
}

} // namespace Inspect
