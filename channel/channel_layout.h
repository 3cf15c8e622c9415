#ifndef CHANNEL_CHANNEL_LAYOUT_H
#define CHANNEL_CHANNEL_LAYOUT_H

#include "channel/record_types.h"

#include "oxa/oxa_mutex.h"
#include "oxa/oxa_zunic_communication_channel.h"
#include "oxa/oxa_zunic_function_storage.h"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

// The bytes of a channel as the processes on the bus write them. All numbers are unsigned and little-endian; members
// named `unread` are the bus's own. Which side stores and loads what in which order: docs/memory_ordering.md.

static_assert(std::endian::native == std::endian::little && sizeof(void*) == 8,
              "channels are little-endian, and handles hold addresses of 8 bytes");
static_assert(__atomic_always_lock_free(2, nullptr) && __atomic_always_lock_free(4, nullptr) &&
                  __atomic_always_lock_free(8, nullptr),
              "a lock inside this process would not order loads against the stores of others");

/// A set of interface ids 0 to 1023: bit b of word w stands for the id 64 * w + b.
struct oxa_zunic_receiver_bitfield_struct
{
    std::uint64_t words[16];
};

/// The header of the message storage.
struct oxa_zunic_message_storage
{
    std::uint32_t last_written_index;
    std::uint16_t writer_counter;
    unsigned char unread[42];
    std::uint32_t storage_size; ///< number of message slots
};

/// One message slot.
struct oxa_zunic_message
{
    std::uint16_t state_and_sender; ///< bits 0 to 3: state, bits 4 to 15: sender id
    std::uint16_t writer_counter;
    std::uint32_t data_index; ///< see cDataIndexMask: the slot of the first, or next, data entry
    oxa_zunic_receiver_bitfield_struct receivers;
    unsigned char unread1[256];
    std::uint32_t user_data_size;
    unsigned char unread2[8];
    std::uint16_t memory_manager_index; ///< of an external data entry
    std::uint16_t range_index;          ///< of an external data entry
    unsigned char unread3[40];
};

static_assert(offsetof(oxa_zunic_message_storage, storage_size) == 48);
static_assert(offsetof(oxa_zunic_message, receivers) == 8 && offsetof(oxa_zunic_message, user_data_size) == 392 &&
              offsetof(oxa_zunic_message, memory_manager_index) == 404 &&
              offsetof(oxa_zunic_message, range_index) == 406 && sizeof(oxa_zunic_message) == 448);

namespace Channel {

constexpr std::size_t cNameSize = 256;
constexpr std::size_t cTableSize = 1024;

/// Communicator id of a free communicator entry, and of an interface that no communicator is recorded for.
constexpr std::uint16_t cNoCommunicator = 4096;

struct InterfaceEntry
{
    char mInterfaceName[cNameSize];
    char mRoleName[cNameSize];
    char mDomainName[cNameSize];
    Oxa::InterfaceInstanceType mType;
    std::uint16_t mVersion[3];
    unsigned char mUnread1[2];
    std::uint16_t mCommunicatorId;
    std::uint16_t mInterfaceId;
    oxa_zunic_registration_state mState;
    unsigned char mUnread2[12];
    oxa_zunic_receiver_bitfield_struct mReceivers;
    std::uint16_t mFunctionStorageManagerIndex;
    std::uint16_t mFunctionStorageRangeIndex;
    unsigned char mUnread3[20];
};

struct CommunicatorEntry
{
    std::uint32_t mProcessId;
    std::uint16_t mCommunicatorId;
    unsigned char mUnread1[2];
    oxa_zunic_registration_state mState;
    unsigned char mUnread2[212];
};

/// What the registry mutex guards.
struct RegistryTables
{
    InterfaceEntry mInterfaces[cTableSize];
    CommunicatorEntry mCommunicators[cTableSize];
};

static_assert(offsetof(InterfaceEntry, mType) == 768 && offsetof(InterfaceEntry, mVersion) == 772 &&
              offsetof(InterfaceEntry, mCommunicatorId) == 780 && offsetof(InterfaceEntry, mInterfaceId) == 782 &&
              offsetof(InterfaceEntry, mState) == 784 && offsetof(InterfaceEntry, mReceivers) == 800 &&
              offsetof(InterfaceEntry, mFunctionStorageManagerIndex) == 928 && sizeof(InterfaceEntry) == 952);
static_assert(offsetof(CommunicatorEntry, mState) == 8 && sizeof(CommunicatorEntry) == 224);

// Offsets in the registry region.
constexpr std::size_t cRegistryTables = 8;
constexpr std::size_t cRegistryMutex = 0x126008;
constexpr std::size_t cMessageStorage = 0x126038;

static_assert(cRegistryTables + offsetof(RegistryTables, mCommunicators) == 0xEE008);
static_assert(cRegistryTables + sizeof(RegistryTables) == cRegistryMutex);

// Offsets in the channel handle.
constexpr std::size_t cHandleMemoryDispatcher = 0x228;
constexpr std::size_t cHandleRegistryBase = 0x248;
constexpr std::size_t cHandleMessages = 0x250;

// Offsets in the memory dispatcher, and of the memory manager object in each of its entries.
constexpr std::size_t cDispatcherManagerCount = 0;
constexpr std::size_t cDispatcherManagers = 8;
constexpr std::size_t cManagerEntrySize = 320;
constexpr std::size_t cManagerInEntry = 288;

// Offsets of the addresses in a mapped function storage.
constexpr std::size_t cFunctionStorageCount = 32;
constexpr std::size_t cFunctionStorageRecords = 48;
constexpr std::size_t cFunctionStorageNames = 56;

struct FunctionRecord
{
    std::uint32_t mUnread;
    std::uint32_t mNameOffset;
    std::uint32_t mNameLength; ///< in bytes; the name has no terminating NUL
};

static_assert(sizeof(FunctionRecord) == 12);

/// Values of the low four bits of a slot's first word; every other one means free, too.
enum SlotState : std::uint8_t
{
    eSlotStateFree = 0,
    eSlotStateReserved = 1,
    eSlotStateWritten = 2,
    eSlotStateMessage = 3, ///< free all the same, unless the sender's id is one that an interface can have
    eSlotStateData = 4
};
constexpr std::size_t cSlotStates = 5;

/// Sender ids of a message that is there to be read.
constexpr std::uint16_t cFirstSenderId = 1;
constexpr std::uint16_t cLastSenderId = 1023;

/// The part of a slot's data_index that is an index.
constexpr std::uint32_t cDataIndexMask = 0x7FFFFF;

/// Values of a data index that name no slot.
constexpr std::uint32_t cNoDataEntry = 0x7FFFFF;
constexpr std::uint32_t cExternalDataEntry = 0x7FFFFE;

/// The value at `offset` from `base`, which need not be aligned.
template <typename Value>
Value readAt(const void* base, std::size_t offset)
{
    Value value;
    // NOLINTNEXTLINE(bugprone-sizeof-expression): an address can be read as well.
    std::memcpy(&value, static_cast<const std::byte*>(base) + offset, sizeof value);
    return value;
}

// Where the parts of an attached channel lie in this process. They are the channel's: nobody frees them, and they are
// there until the channel is destroyed.

inline std::byte* registryBase(oxa_zunic_communication_channel* channel)
{
    return readAt<std::byte*>(channel, cHandleRegistryBase);
}

inline oxa_mutex* registryMutex(oxa_zunic_communication_channel* channel)
{
    return reinterpret_cast<oxa_mutex*>(registryBase(channel) + cRegistryMutex);
}

inline oxa_zunic_message_storage* messageStorage(oxa_zunic_communication_channel* channel)
{
    return reinterpret_cast<oxa_zunic_message_storage*>(registryBase(channel) + cMessageStorage);
}

/// The first of the message slots.
inline oxa_zunic_message* messages(oxa_zunic_communication_channel* channel)
{
    return readAt<oxa_zunic_message*>(channel, cHandleMessages);
}

inline oxa_zunic_memory_dispatcher_struct* memoryDispatcher(oxa_zunic_communication_channel* channel)
{
    auto* const handle = reinterpret_cast<std::byte*>(channel);
    return reinterpret_cast<oxa_zunic_memory_dispatcher_struct*>(handle + cHandleMemoryDispatcher);
}

/// Loads, exactly once, a field that other processes may be changing.
template <typename Value>
Value loadShared(const Value& field)
{
    return __atomic_load_n(&field, __ATOMIC_RELAXED);
}

/// Likewise a field that is published after the others of its record: those, loaded afterwards, are at least as new.
template <typename Value>
Value loadPublished(const Value& field)
{
    return __atomic_load_n(&field, __ATOMIC_ACQUIRE);
}

/// A name ends at its NUL or at the end of its field.
inline std::string_view nameIn(const char (&field)[cNameSize])
{
    return {field, strnlen(field, cNameSize)};
}

inline bool isInUse(const InterfaceEntry& entry)
{
    return entry.mState == oxa_zunic_registration_state_registered ||
           entry.mState == oxa_zunic_registration_state_preregistered;
}

inline std::size_t countReceivers(const oxa_zunic_receiver_bitfield_struct& receivers)
{
    std::size_t count = 0;
    for (const std::uint64_t word : receivers.words) {
        count += static_cast<std::size_t>(std::popcount(word));
    }
    return count;
}

/// Calls `visit` with each id of the set, in ascending order.
template <typename Visitor>
void forEachReceiver(const oxa_zunic_receiver_bitfield_struct& receivers, Visitor visit)
{
    std::uint16_t firstId = 0;
    for (std::uint64_t word : receivers.words) {
        for (; word != 0; word &= word - 1) {
            visit(static_cast<std::uint16_t>(firstId + std::countr_zero(word)));
        }
        firstId = static_cast<std::uint16_t>(firstId + 64);
    }
}

} // namespace Channel

#endif
