#include "inspect/live/take_state.h"

#include "channel/registry_snapshot.h"
#include "inspect/live/processes.h"
#include "inspect/live/state_parts.h"
#include "inspect/live/truncation_guard.h"

#include <algorithm>
#include <cstring>
#include <fstream>
#include <sys/utsname.h>
#include <utility>

namespace Inspect {

namespace {

std::string bootId()
{
    std::ifstream file("/proc/sys/kernel/random/boot_id");
    std::string id;
    file >> id;
    return id;
}

std::string hostName()
{
    utsname names{};
    return uname(&names) == 0 ? names.nodename : "";
}

/// Fills in when and where the state was taken, and by whom.
void signState(const std::string& channel, BusState& state)
{
    state.mTakenAt = wallTimeNow();
    state.mChannel = channel;
    state.mHost = hostName();
    state.mBootId = bootId();
    state.mProgramVersion = ZUNIC_INSPECT_VERSION;
}

/// Blocks in use come and go with every message.
bool areAsLarge(const std::vector<Channel::MemoryManagerFigures>& some,
                const std::vector<Channel::MemoryManagerFigures>& others)
{
    return std::ranges::equal(some, others, [](Channel::MemoryManagerFigures one, const auto& other) {
        one.mUsedBlocks = other.mUsedBlocks;
        return one == other;
    });
}

/// As far as it shows in the tables, the processes and the size of the pools.
bool isUnchanged(const Channel::RegistryTables& tables, const BusState& now, const Remembered& before)
{
    return before.mTables != nullptr && !before.mProcesses.hasAnyEnded() &&
           std::memcmp(&tables, before.mTables.get(), sizeof tables) == 0 &&
           areAsLarge(now.mMemoryManagers, before.mState->mMemoryManagers);
}

/// In the memory of the tables before: new pages would cost more than the copy.
void remember(const Channel::RegistryTables& tables, Remembered& remembered)
{
    if (remembered.mTables == nullptr) {
        remembered.mTables = std::make_unique_for_overwrite<Channel::RegistryTables>();
    }
    *remembered.mTables = tables;
}

/// `before`: null remembers nothing. None when nothing has changed since then.
std::optional<BusState> lookAt(const std::string& name, const Wanted& wanted, Remembered* before)
{
    const Attachment channel = attach(name);
    BusState state;
    const Channel::RegistryCopy copy = Channel::copyRegistry(channel.get(), &state.mMutexHeld);
    if (copy == nullptr) {
        throw NoChannel("cannot lock the registry mutex of channel \"" + name + "\"");
    }
    if (wanted.mMemoryManagers) {
        readMemoryManagers(channel.get(), state.mMemoryManagers);
    }
    if (before != nullptr && isUnchanged(*copy, state, *before)) {
        return {};
    }
    signState(name, state);
    decodeTables(*copy, state);
    if (wanted.mProcesses) {
        before == nullptr ? lookUpProcesses(state.mCommunicators) : before->mProcesses.fillIn(state.mCommunicators);
    }
    if (wanted.mFunctions) {
        if (before != nullptr && before->mState != nullptr) {
            keepFunctions(*before->mState, state);
        }
        readFunctions(channel.get(), state.mInterfaces);
    }
    if (wanted.mMessages || wanted.mSlotTotals) {
        readMessages(channel.get(), wanted.mMessages, state.mMessages);
    }
    if (before != nullptr) {
        remember(*copy, *before);
    }
    return state;
}

/// As `lookAt`; a channel that is truncated meanwhile counts as gone, whatever came of reading it.
std::optional<BusState> take(const std::string& name, const Wanted& wanted, Remembered* before)
{
    const TruncationGuard guard;
    try {
        std::optional<BusState> state = lookAt(name, wanted, before);
        guard.requireWhole(name);
        return state;
    } catch (const NoChannel&) {
        guard.requireWhole(name);
        throw;
    }
}

} // namespace

BusState takeState(const std::string& channel, const Wanted& wanted)
{
    return *take(channel, wanted, nullptr);
}

std::shared_ptr<const BusState> takeStateAgain(const std::string& channel, const Wanted& wanted, Remembered& before)
{
    if (std::optional<BusState> state = take(channel, wanted, &before)) {
        before.mState = std::make_shared<const BusState>(std::move(*state));
    }
    return before.mState;
}

} // namespace Inspect
