#include "inspect/live/state_parts.h"

#include "channel/function_names.h"

#include <algorithm>
#include <atomic>
#include <map>
#include <tuple>

namespace Inspect {

namespace {

/// Of all interfaces together, as each one's are written: all of a channel, with 256 functions each.
constexpr std::size_t cMostFunctionNames = Channel::cTableSize * 256;
constexpr std::size_t cMostFunctionNameBytes = cMostFunctionNames * 32;

/// As many as a range location can name: a damaged count says nothing.
constexpr std::uint32_t cMostMemoryManagers = 1U << 16;

IdSet idsIn(const oxa_zunic_receiver_bitfield_struct& receivers)
{
    IdSet ids;
    Channel::forEachReceiver(receivers, [&](std::uint16_t id) { ids.append(id); });
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

/// Reads each function storage once, and no more names than the limits allow.
class FunctionReader
{
public:
    explicit FunctionReader(oxa_zunic_memory_dispatcher_struct* dispatcher) : mDispatcher(dispatcher) {}

    /// The names that an interface has already.
    void keep(const Interface& interface)
    {
        if (!interface.mFunctionsCut) {
            mRead.try_emplace(keyOf(interface), interface.mFunctions, false);
        }
        take(*interface.mFunctions);
    }

    void read(Interface& interface)
    {
        const auto [entry, isNew] = mRead.try_emplace(keyOf(interface));
        auto& [names, isCut] = entry->second;
        if (isNew) {
            std::tie(names, isCut) = readStorage(interface.mFunctionStorage);
        } else if (names && !isRoomFor(*names)) {
            names.reset();
            isCut = true;
        }
        interface.mFunctions = names;
        interface.mFunctionsCut = isCut;
        if (names) {
            take(*names);
        }
    }

private:
    using Key = std::pair<std::uint16_t, std::uint16_t>;
    using Names = std::pair<std::optional<FunctionNames>, bool>; ///< and whether there are more

    static Key keyOf(const Interface& interface)
    {
        return {interface.mFunctionStorage.mMemoryManagerIndex, interface.mFunctionStorage.mRangeIndex};
    }

    bool isRoomFor(const FunctionNames& names) const
    {
        return names.size() <= mNamesLeft && names.bytes() <= mBytesLeft;
    }

    void take(const FunctionNames& names)
    {
        mNamesLeft -= std::min(names.size(), mNamesLeft);
        mBytesLeft -= std::min(names.bytes(), mBytesLeft);
    }

    Names readStorage(const OxaZunic::OxaZunicRangeLocation& location) const
    {
        std::vector<std::string_view> found;
        if (Channel::readFunctionNames(mDispatcher, location, found) != 0) {
            return {};
        }
        std::size_t count = 0;
        for (std::size_t bytes = 0; count < std::min(found.size(), mNamesLeft); ++count) {
            bytes += found[count].size();
            if (bytes > mBytesLeft) {
                break;
            }
        }
        const bool isCut = count < found.size();
        if (isCut && count == 0) {
            return {std::nullopt, true};
        }
        found.resize(count);
        return {FunctionNames::made([&](const auto& add) { std::ranges::for_each(found, add); }), isCut};
    }

    oxa_zunic_memory_dispatcher_struct* mDispatcher;
    std::size_t mNamesLeft = cMostFunctionNames;
    std::size_t mBytesLeft = cMostFunctionNameBytes;
    std::map<Key, Names> mRead;
};

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
    FunctionReader reader(Channel::memoryDispatcher(channel));
    for (const Interface& interface : interfaces) {
        if (interface.mFunctions) {
            reader.keep(interface);
        }
    }
    for (Interface& interface : interfaces) {
        if (!interface.mFunctions) {
            reader.read(interface);
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
    messages.mTotals[Channel::eSlotStateFree] = slots.size() - slots.readable();
    messages.mSlots.reserve(slots.readable()); // Pages that are not filled cost nothing, and nothing is moved.
    for (std::uint32_t i = 0; i < slots.readable(); ++i) {
        const Channel::SlotHead head = slots.head(i);
        ++messages.mTotals.at(head.mState);
        if (chains && head.mState != Channel::eSlotStateFree) {
            messages.mSlots.push_back(readSlot(slots, *chains, i, head));
        }
    }
    // After the slots: a message that is sent while they are read would seem to be 65,535 messages old.
    std::atomic_thread_fence(std::memory_order_acquire);
    messages.mLastWrittenIndex = Channel::loadShared(header.last_written_index);
    messages.mWriterCounter = Channel::loadShared(header.writer_counter);
}

} // namespace Inspect
