#include "inspect/live/state_parts.h"

#include "channel/function_names.h"

#include <algorithm>
#include <map>
#include <tuple>

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
            .mFunctionsCut = false,
            .mReceivers = idsIn(entry.mReceivers)};
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

} // namespace

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
            interface.mFunctionsCut = found->second->mFunctionsCut;
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

} // namespace Inspect
