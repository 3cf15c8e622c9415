#ifndef ZUNIC_HOSTING_CHANNEL_FORMAT_H
#define ZUNIC_HOSTING_CHANNEL_FORMAT_H

#include "oxa/oxa_zunic_function_storage.h"
#include "oxa_hosting/oxa_memory_manager_hosting.h"
#include "oxa_hosting/oxa_mutex_hosting.h"

#include <atomic>
#include <bit>
#include <cstddef>
#include <cstdint>

/// The shared-memory object of a channel, byte for byte. Numbers are unsigned and little-endian.
///
///     0      Superblock: the places of everything else
///     4096   Registry: interface and communicator tables, registry mutex, message storage header
///     ...    MessageSlot, as often as the storage header says
///     ...    MemoryManagerEntry, as often as the superblock says
///     ...    the memory managers' pools of blocks
namespace ZunicFormat {

static_assert(std::endian::native == std::endian::little && sizeof(void*) == 8);
static_assert(std::atomic_ref<std::uint16_t>::is_always_lock_free &&
              std::atomic_ref<std::uint32_t>::is_always_lock_free &&
              std::atomic_ref<std::uint64_t>::is_always_lock_free); // A lock would be one inside each process.

constexpr std::size_t cNameSize = 256; // with at least one NUL
constexpr std::size_t cInterfaceEntries = 1024;
constexpr std::size_t cCommunicatorEntries = 1024;
constexpr std::size_t cReceiverWords = 16;
constexpr std::size_t cBitsPerReceiverWord = 64;
constexpr std::uint16_t cFreeCommunicatorId = 4096;

/// Interface ids: bit b of word w stands for the id 64 * w + b.
using ReceiverSet = std::uint64_t[cReceiverWords];

/// In use while its state is registered (1) or preregistered (3).
struct InterfaceEntry
{
    char interfaceName[cNameSize];
    char roleName[cNameSize];
    char domainName[cNameSize];
    std::uint32_t type;
    std::uint16_t version[3];
    std::uint16_t unused1;
    std::uint16_t communicatorId;
    std::uint16_t interfaceId;
    std::uint32_t state;
    std::uint8_t unused2[12];
    ReceiverSet receivers;
    oxa_zunic_range_location functions;
    std::uint8_t unused3[20];
};

static_assert(offsetof(InterfaceEntry, roleName) == 256);
static_assert(offsetof(InterfaceEntry, domainName) == 512);
static_assert(offsetof(InterfaceEntry, type) == 768);
static_assert(offsetof(InterfaceEntry, version) == 772);
static_assert(offsetof(InterfaceEntry, communicatorId) == 780);
static_assert(offsetof(InterfaceEntry, interfaceId) == 782);
static_assert(offsetof(InterfaceEntry, state) == 784);
static_assert(offsetof(InterfaceEntry, receivers) == 800);
static_assert(offsetof(InterfaceEntry, functions) == 928);
static_assert(sizeof(InterfaceEntry) == 952);

/// In use unless its id is cFreeCommunicatorId.
struct CommunicatorEntry
{
    std::uint32_t processId;
    std::uint16_t communicatorId;
    std::uint16_t unused1;
    std::uint32_t state;
    std::uint8_t unused2[212];
};

static_assert(offsetof(CommunicatorEntry, communicatorId) == 4);
static_assert(offsetof(CommunicatorEntry, state) == 8);
static_assert(sizeof(CommunicatorEntry) == 224);

struct MessageStorage
{
    std::uint32_t lastWrittenIndex;
    std::uint16_t writerCounter;
    std::uint8_t unused1[42];
    std::uint32_t storageSize; // number of slots
    std::uint8_t unused2[12];
};

static_assert(offsetof(MessageStorage, writerCounter) == 4);
static_assert(offsetof(MessageStorage, storageSize) == 48);

struct MessageSlot
{
    std::uint16_t stateAndSender; // bits 0-3 state, 4-15 sender id
    std::uint16_t writerCounter;
    std::uint32_t dataIndex; // bits 0-22
    ReceiverSet receivers;
    std::uint8_t unused1[256];
    std::uint32_t userDataSize;
    std::uint8_t unused2[8];
    oxa_zunic_range_location external;
    std::uint8_t unused3[40];
};

constexpr unsigned cSlotStateBits = 4;
constexpr std::uint16_t cSlotStateMask = (1U << cSlotStateBits) - 1;
constexpr std::uint16_t cMaximumSenderId = 0xFFFF >> cSlotStateBits;
constexpr std::uint32_t cDataIndexMask = 0x7FFFFF;

static_assert(offsetof(MessageSlot, dataIndex) == 4);
static_assert(offsetof(MessageSlot, receivers) == 8);
static_assert(offsetof(MessageSlot, userDataSize) == 392);
static_assert(offsetof(MessageSlot, external) == 404);
static_assert(sizeof(MessageSlot) == 448);

struct Registry
{
    std::uint64_t unused;
    InterfaceEntry interfaces[cInterfaceEntries];
    CommunicatorEntry communicators[cCommunicatorEntries];
    alignas(8) std::uint8_t mutex[cOxaMutexSize];
    MessageStorage messageStorage;
};

static_assert(offsetof(Registry, interfaces) == 8);
static_assert(offsetof(Registry, communicators) == 974856);
static_assert(offsetof(Registry, mutex) == 1204232);
static_assert(offsetof(Registry, messageStorage) == 1204280);

/// The blocks lie one behind the other, from `poolOffset` (counted from the start of the object).
struct MemoryManagerEntry
{
    std::uint64_t poolOffset;
    std::uint64_t unused[3];
    oxa_memory_manager_record record;
};

static_assert(offsetof(MemoryManagerEntry, record.manager) == 288);
static_assert(sizeof(MemoryManagerEntry) == 320);

/// Both counted in bytes, from the start of the object.
struct Area
{
    std::uint64_t offset;
    std::uint64_t size;
};

constexpr std::uint64_t cMagic = 0x4853'4349'4e55'5a00; // "\0ZUNICSH"
constexpr std::uint32_t cVersion = 2;
constexpr std::uint64_t cSuperblockSize = 4096;
constexpr std::uint64_t cAreaAlignment = 8;

/// What identifies a PID namespace as long as a process lives in it; see namespaces(7).
struct PidNamespace
{
    std::uint64_t device;
    std::uint64_t inode;

    bool operator==(const PidNamespace&) const = default;
};

struct Superblock
{
    std::uint64_t magic;
    std::uint32_t version;
    std::uint32_t hostProcessId;
    std::uint64_t objectSize;
    std::uint32_t initialized; // set to 1 by the host, last of all
    std::uint32_t memoryManagerCount;
    Area registry;
    Area messages;
    Area memoryManagers;
    Area pools;
    PidNamespace pidNamespace; // of the host: process ids, and the thread ids in the registry mutex, are those of there
};

static_assert(sizeof(Superblock) <= cSuperblockSize);

/// In front of a block that holds a function storage. `functionCount` records follow, and after them `namesSize` bytes
/// of names, which share no bytes and have no NUL at their ends.
struct FunctionStorageHeader
{
    std::uint32_t magic;
    std::uint16_t functionCount;
    std::uint16_t unused1;
    std::uint32_t namesSize;
    std::uint32_t unused2;
};

struct FunctionRecord
{
    std::uint32_t unused;
    std::uint32_t nameOffset; // within the names
    std::uint32_t nameLength;
};

constexpr std::uint32_t cFunctionStorageMagic = 0x434e5546; // "FUNC"

static_assert(sizeof(FunctionStorageHeader) == 16);
static_assert(sizeof(FunctionRecord) == 12);

} // namespace ZunicFormat

#endif
