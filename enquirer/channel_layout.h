#ifndef ENQUIRER_CHANNEL_LAYOUT_H
#define ENQUIRER_CHANNEL_LAYOUT_H

#include "enquirer/record_types.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

// The bytes of a channel as the processes on the bus write them. All numbers are unsigned, in the byte order of the
// machine; members named `unread` are the bus's own.

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

static_assert(sizeof(oxa_zunic_receiver_bitfield_struct) == 128);
static_assert(offsetof(oxa_zunic_message_storage, storage_size) == 48);
static_assert(sizeof(oxa_zunic_message) == 448);
static_assert(offsetof(oxa_zunic_message, receivers) == 8);
static_assert(offsetof(oxa_zunic_message, user_data_size) == 392);
static_assert(offsetof(oxa_zunic_message, memory_manager_index) == 404);
static_assert(offsetof(oxa_zunic_message, range_index) == 406);

namespace Oxa::ChannelLayout {

constexpr std::size_t cNameSize = 256;
constexpr std::size_t cTableSize = 1024;

/// Communicator id of a free communicator entry, and of an interface that no communicator is recorded for.
constexpr std::uint16_t cNoCommunicator = 4096;

struct InterfaceEntry
{
    char interfaceName[cNameSize];
    char roleName[cNameSize];
    char domainName[cNameSize];
    InterfaceInstanceType type;
    std::uint16_t version[3];
    unsigned char unread1[2];
    std::uint16_t communicatorId;
    std::uint16_t interfaceId;
    oxa_zunic_registration_state state;
    unsigned char unread2[12];
    oxa_zunic_receiver_bitfield_struct receivers;
    std::uint16_t functionStorageManagerIndex;
    std::uint16_t functionStorageRangeIndex;
    unsigned char unread3[20];
};

struct CommunicatorEntry
{
    std::uint32_t processId;
    std::uint16_t communicatorId;
    unsigned char unread1[2];
    oxa_zunic_registration_state state;
    unsigned char unread2[212];
};

/// What the registry mutex guards.
struct RegistryTables
{
    InterfaceEntry interfaces[cTableSize];
    CommunicatorEntry communicators[cTableSize];
};

static_assert(sizeof(InterfaceEntry) == 952);
static_assert(offsetof(InterfaceEntry, roleName) == 256);
static_assert(offsetof(InterfaceEntry, domainName) == 512);
static_assert(offsetof(InterfaceEntry, type) == 768);
static_assert(offsetof(InterfaceEntry, version) == 772);
static_assert(offsetof(InterfaceEntry, communicatorId) == 780);
static_assert(offsetof(InterfaceEntry, interfaceId) == 782);
static_assert(offsetof(InterfaceEntry, state) == 784);
static_assert(offsetof(InterfaceEntry, receivers) == 800);
static_assert(offsetof(InterfaceEntry, functionStorageManagerIndex) == 928);
static_assert(sizeof(CommunicatorEntry) == 224);
static_assert(offsetof(CommunicatorEntry, state) == 8);

// Offsets in the registry region.
constexpr std::size_t cRegistryTables = 8;
constexpr std::size_t cRegistryMutex = 0x126008;
constexpr std::size_t cMessageStorage = 0x126038;

static_assert(cRegistryTables + offsetof(RegistryTables, communicators) == 0xEE008);
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
    std::uint32_t unread;
    std::uint32_t nameOffset;
    std::uint32_t nameLength; ///< in bytes; the name has no terminating NUL
};

static_assert(sizeof(FunctionRecord) == 12);

/// Values of the low four bits of a slot's first word; every other one means free.
enum SlotState : std::uint8_t
{
    eSlotStateReserved = 1,
    eSlotStateWritten = 2,
    eSlotStateMessage = 3,
    eSlotStateData = 4
};

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

/// Loads, exactly once, a field that other processes may be changing.
template <typename Value>
Value loadShared(const Value& field)
{
    return __atomic_load_n(&field, __ATOMIC_RELAXED);
}

/// A name ends at its NUL or at the end of its field.
inline std::string_view nameIn(const char (&field)[cNameSize])
{
    return {field, strnlen(field, cNameSize)};
}

inline bool isInUse(const InterfaceEntry& entry)
{
    return entry.state == oxa_zunic_registration_state_registered ||
           entry.state == oxa_zunic_registration_state_preregistered;
}

/// Calls `visit` with each id of the set, in ascending order.
template <typename Visitor>
void forEachReceiver(const oxa_zunic_receiver_bitfield_struct& receivers, Visitor visit)
{
    std::uint16_t firstId = 0;
    for (std::uint64_t word : receivers.words) {
        for (; word != 0; word &= word - 1) {
            visit(static_cast<std::uint16_t>(firstId + __builtin_ctzll(word)));
        }
        firstId = static_cast<std::uint16_t>(firstId + 64);
    }
}

} // namespace Oxa::ChannelLayout

#endif
