#include "inspect/live/take_state.h"

#include "channel/function_names.h"
#include "channel/registry_snapshot.h"
#include "inspect/live/processes.h"
#include "inspect/live/state_parts.h"

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <map>
#include <memory>

namespace Inspect {

namespace {

/// As many as a range location can name: a damaged count says nothing.
constexpr std::uint32_t cMostMemoryManagers = 1U << 16;

IdSet idsIn(const oxa_zunic_receiver_bitfield_struct& receivers)
{
    IdSet ids;
    ids.reserve(Channel::countReceivers(receivers));
    Channel::forEachReceiver(receivers, [&](std::uint16_t id) { ids.push_back(id); });
    return ids;
}

Interface decode(const Channel::InterfaceEntry& entry)
{
    return {.mId = entry.mInterfaceId,
            .mName = std::string(Channel::nameIn(entry.mInterfaceName)),
            .mRole = std::string(Channel::nameIn(entry.mRoleName)),
            .mDomain = std::string(Channel::nameIn(entry.mDomainName)),
            .mType = entry.mType,
            .mVersion = {entry.mVersion[0], entry.mVersion[1], entry.mVersion[2]},
            .mCommunicatorId = entry.mCommunicatorId,
            .mState = entry.mState,
            .mFunctionStorage = {entry.mFunctionStorageManagerIndex, entry.mFunctionStorageRangeIndex},
            .mFunctions = {},
            .mReceivers = idsIn(entry.mReceivers)};
}

void lookUpProcesses(std::vector<Communicator>& communicators)
{
    std::map<std::uint32_t, Process> processes;
    for (Communicator& communicator : communicators) {
        const auto [place, isNew] = processes.try_emplace(communicator.mProcessId);
        if (isNew) {
            place->second = lookUpProcess(communicator.mProcessId);
        }
        communicator.mProcess = place->second;
    }
}

Slot readSlot(const Channel::MessageSlots& slots, Channel::DataChains& chains, std::uint32_t index,
              const Channel::SlotHead& head)
{
    const Channel::SlotFields fields = slots.fields(index);
    Slot slot{.mIndex = index,
              .mState = head.mState,
              .mSenderId = head.mSenderId,
              .mWriterCounter = fields.mWriterCounter,
              .mUserDataSize = fields.mUserDataSize,
              .mReceivers = {},
              .mChain = {},
              .mExternal = {}};
    if (head.mState == Channel::eSlotStateReserved || head.mState == Channel::eSlotStateData) {
        return slot;
    }
    slot.mReceivers = idsIn(fields.mReceivers);
    if (fields.mDataIndex == Channel::cExternalDataEntry) {
        slot.mExternal = fields.mExternal;
    } else if (fields.mDataIndex != Channel::cNoDataEntry) {
        slot.mChain = chains.follow(index, fields.mDataIndex);
        if (slot.mChain.mEnd == Channel::ChainEnd::eWhole) {
            slot.mChain.mNextIndex = 0;
        }
    }
    return slot;
}

void readMessages(oxa_zunic_communication_channel* channel, bool areSlotsWanted, MessageStorage& messages)
{
    const oxa_zunic_message_storage& header = *Channel::messageStorage(channel);
    const Channel::MessageSlots slots(header, Channel::messages(channel));
    std::optional<Channel::DataChains> chains;
    if (areSlotsWanted) {
        chains.emplace(slots);
    }
    messages.mSize = slots.size();
    messages.mReadable = slots.readable();
    messages.mLastWrittenIndex = Channel::loadShared(header.last_written_index);
    messages.mWriterCounter = Channel::loadShared(header.writer_counter);
    messages.mTotals[Channel::eSlotStateFree] = slots.size() - slots.readable();
    messages.mSlots.reserve(slots.readable()); // Pages that are not filled cost nothing, and nothing is moved.
    for (std::uint32_t i = 0; i < slots.readable(); ++i) {
        const Channel::SlotHead head = slots.head(i);
        ++messages.mTotals.at(head.mState);
        if (chains && head.mState != Channel::eSlotStateFree) {
            messages.mSlots.push_back(readSlot(slots, *chains, i, head));
        }
    }
}

std::string bootId()
{
    std::ifstream file("/proc/sys/kernel/random/boot_id");
    std::string id;
    file >> id;
    return id;
}

} // namespace

Attachment attach(const std::string& name)
{
    oxa_zunic_communication_channel* handle = nullptr;
    const int error = oxa_zunic_communication_channel_create(name.c_str(), &handle);
    Attachment channel(handle);
    if (error != 0 || channel == nullptr || !oxa_zunic_communication_channel_is_initialized(handle)) {
        throw NoChannel("no usable channel \"" + name + "\"", error == ENOENT);
    }
    return channel;
}

void decodeTables(const Channel::RegistryTables& tables, BusState& state)
{
    for (const Channel::InterfaceEntry& entry : tables.mInterfaces) {
        if (Channel::isInUse(entry)) {
            state.mInterfaces.push_back(decode(entry));
        }
    }
    std::ranges::stable_sort(state.mInterfaces, {}, &Interface::mId);
    for (const Channel::CommunicatorEntry& entry : tables.mCommunicators) {
        if (entry.mCommunicatorId != Channel::cNoCommunicator) {
            state.mCommunicators.push_back({entry.mCommunicatorId, entry.mProcessId, entry.mState, {}});
        }
    }
}

void readFunctions(oxa_zunic_communication_channel* channel, std::vector<Interface>& interfaces)
{
    std::size_t bytesLeft = Channel::cMostFunctionNameBytes;
    for (Interface& interface : interfaces) {
        std::vector<std::string_view> names;
        if (bytesLeft == 0 || interface.mFunctions ||
            Channel::readFunctionNames(Channel::memoryDispatcher(channel), interface.mFunctionStorage, names) != 0) {
            continue;
        }
        interface.mFunctions.emplace();
        for (const std::string_view name : names) {
            if (name.size() >= bytesLeft) {
                bytesLeft = 0;
                break;
            }
            bytesLeft -= name.size();
            interface.mFunctions->emplace_back(name);
        }
    }
}

void readMemoryManagers(oxa_zunic_communication_channel* channel, std::vector<Channel::MemoryManagerFigures>& figures)
{
    const Channel::MemoryManagers managers(Channel::memoryDispatcher(channel));
    if (managers.isPresent()) {
        for (std::uint32_t i = 0; i < std::min(managers.count(), cMostMemoryManagers); ++i) {
            figures.push_back(managers.figures(i));
        }
    }
}

void failToLock(const std::string& channel)
{
    throw NoChannel("the registry mutex of channel \"" + channel + "\" could not be taken");
}

void signState(const std::string& channel, BusState& state)
{
    state.mTakenAt = wallTimeNow();
    state.mChannel = channel;
    state.mBootId = bootId();
    state.mProgramVersion = ZUNIC_INSPECT_VERSION;
}

BusState takeState(const std::string& channelName, const Wanted& wanted)
{
    const Attachment channel = attach(channelName);
    BusState state;
    Channel::RegistryCopy copy = Channel::copyRegistry(channel.get(), &state.mMutexHeld);
    if (copy == nullptr) {
        failToLock(channelName);
    }
    signState(channelName, state);
    decodeTables(*copy, state);
    copy.reset();
    if (wanted.mProcesses) {
        lookUpProcesses(state.mCommunicators);
    }
    if (wanted.mFunctions) {
        readFunctions(channel.get(), state.mInterfaces);
    }
    if (wanted.mMemoryManagers) {
        readMemoryManagers(channel.get(), state.mMemoryManagers);
    }
    if (wanted.mMessages || wanted.mSlotTotals) {
        readMessages(channel.get(), wanted.mMessages, state.mMessages);
    }
    return state;
}

} // namespace Inspect
