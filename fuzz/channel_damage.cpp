#include "channel_damage.h"

#include <algorithm>
#include <array>
#include <cstring>

using namespace ZunicFormat;

namespace {

struct Field
{
    std::size_t offset;
    std::size_t size;
};

struct Records
{
    std::size_t offset; ///< of the first one
    std::size_t size;   ///< of each
    std::size_t count;
    std::span<const Field> fields;
};

// NOLINTNEXTLINE(cppcoreguidelines-macro-usage): a name of a member can be handed on by nothing else.
#define AT(record, member)                                                                                             \
    Field                                                                                                              \
    {                                                                                                                  \
        offsetof(record, member), sizeof(record::member)                                                               \
    }

constexpr std::array cSuperblock{AT(Superblock, magic),
                                 AT(Superblock, version),
                                 AT(Superblock, objectSize),
                                 AT(Superblock, initialized),
                                 AT(Superblock, memoryManagerCount),
                                 AT(Superblock, registry.offset),
                                 AT(Superblock, registry.size),
                                 AT(Superblock, messages.offset),
                                 AT(Superblock, messages.size),
                                 AT(Superblock, memoryManagers.offset),
                                 AT(Superblock, memoryManagers.size),
                                 AT(Superblock, pools.offset),
                                 AT(Superblock, pools.size)};

constexpr std::array cInterface{AT(InterfaceEntry, interfaceName),
                                AT(InterfaceEntry, roleName),
                                AT(InterfaceEntry, domainName),
                                AT(InterfaceEntry, type),
                                AT(InterfaceEntry, version),
                                AT(InterfaceEntry, communicatorId),
                                AT(InterfaceEntry, interfaceId),
                                AT(InterfaceEntry, state),
                                AT(InterfaceEntry, receivers),
                                AT(InterfaceEntry, functions.memory_manager_index),
                                AT(InterfaceEntry, functions.range_index)};

constexpr std::array cCommunicator{AT(CommunicatorEntry, processId), AT(CommunicatorEntry, communicatorId),
                                   AT(CommunicatorEntry, state)};

constexpr std::array cMessageStorage{AT(MessageStorage, lastWrittenIndex), AT(MessageStorage, writerCounter),
                                     AT(MessageStorage, storageSize)};

constexpr std::array cSlot{AT(MessageSlot, stateAndSender),      AT(MessageSlot, writerCounter),
                           AT(MessageSlot, dataIndex),           AT(MessageSlot, receivers),
                           AT(MessageSlot, userDataSize),        AT(MessageSlot, external.memory_manager_index),
                           AT(MessageSlot, external.range_index)};

constexpr std::array cMemoryManager{AT(MemoryManagerEntry, poolOffset),
                                    AT(MemoryManagerEntry, record.block_map),
                                    AT(MemoryManagerEntry, record.manager.block_size),
                                    AT(MemoryManagerEntry, record.manager.initial_blocks),
                                    AT(MemoryManagerEntry, record.manager.additional_blocks),
                                    AT(MemoryManagerEntry, record.manager.total_blocks),
                                    AT(MemoryManagerEntry, record.manager.maximum_blocks)};

constexpr std::array cFunctionStorage{AT(FunctionStorageHeader, magic), AT(FunctionStorageHeader, functionCount),
                                      AT(FunctionStorageHeader, namesSize)};

constexpr std::array cFunction{AT(FunctionRecord, nameOffset), AT(FunctionRecord, nameLength)};

#undef AT

/// What a channel with these areas consists of.
std::array<Records, 8> recordsOf(const Superblock& superblock, std::size_t functionStorage)
{
    const std::size_t registry = superblock.registry.offset;
    const std::size_t slots = superblock.messages.size / sizeof(MessageSlot);
    constexpr std::size_t cFunctions = 4;
    return {
        {{0, sizeof(Superblock), 1, cSuperblock},
         {registry + offsetof(Registry, interfaces), sizeof(InterfaceEntry), cInterfaceEntries, cInterface},
         {registry + offsetof(Registry, communicators), sizeof(CommunicatorEntry), cCommunicatorEntries, cCommunicator},
         {registry + offsetof(Registry, messageStorage), sizeof(MessageStorage), 1, cMessageStorage},
         {superblock.messages.offset, sizeof(MessageSlot), slots, cSlot},
         {superblock.memoryManagers.offset, sizeof(MemoryManagerEntry), superblock.memoryManagerCount, cMemoryManager},
         {functionStorage, sizeof(FunctionStorageHeader), 1, cFunctionStorage},
         {functionStorage + sizeof(FunctionStorageHeader), sizeof(FunctionRecord), cFunctions, cFunction}}};
}

/// Few records are in use, and those are the first ones.
std::size_t elementOf(std::uint8_t element, std::size_t count)
{
    constexpr std::size_t cFirst = 8;
    return element < 0x80 ? element % std::min(count, cFirst) : count - 1 - element % std::min<std::size_t>(count, 2);
}

Field fieldOf(std::uint8_t number, const Records& records)
{
    if (number < records.fields.size()) {
        return records.fields[number];
    }
    const std::size_t word = (number - records.fields.size()) * sizeof(std::uint64_t) % records.size;
    return {word, std::min(sizeof(std::uint64_t), records.size - word)};
}

/// Of the operand, as many bytes as `target` has: cut off behind them, or over and over again.
void change(std::span<std::byte> target, const Damage& damage)
{
    const unsigned operation = (damage.operation & ~Damage::cLate) % 3U;
    unsigned carry = 0;
    for (std::size_t i = 0; i < target.size(); ++i) {
        const auto before = std::to_integer<unsigned>(target[i]);
        const unsigned operand = damage.operand[i % sizeof damage.operand];
        const unsigned after[] = {operand, before + operand + carry, before ^ operand};
        target[i] = static_cast<std::byte>(after[operation] & 0xFFU);
        carry = after[operation] >> 8;
    }
}

template <typename Record>
Record readAt(std::size_t offset, std::span<const std::byte> bytes)
{
    Record record;
    std::memcpy(&record, &bytes[offset], sizeof record);
    return record;
}

} // namespace

DamagedChannel::DamagedChannel(std::span<std::byte> bytes, oxa_zunic_range_location functions)
    : mBytes(bytes), mOriginal(bytes.begin(), bytes.end()), mSuperblock(readAt<Superblock>(0, bytes))
{
    const auto manager = readAt<MemoryManagerEntry>(
        mSuperblock.memoryManagers.offset + functions.memory_manager_index * sizeof(MemoryManagerEntry), bytes);
    mFunctionStorage = manager.poolOffset + functions.range_index * manager.record.manager.block_size;
}

void DamagedChannel::apply(std::span<const std::uint8_t> damages, bool late)
{
    for (; damages.size() >= sizeof(Damage); damages = damages.subspan(sizeof(Damage))) {
        const auto damage = readAt<Damage>(0, std::as_bytes(damages));
        if (((damage.operation & Damage::cLate) != 0) == late) {
            mDamaged.push_back(field(damage));
            change(mDamaged.back(), damage);
        }
    }
}

std::span<std::byte> DamagedChannel::field(const Damage& damage) const
{
    const auto all = recordsOf(mSuperblock, mFunctionStorage);
    const Records& records = all[damage.kind % all.size()];
    const Field field = fieldOf(damage.field, records);
    return mBytes.subspan(records.offset + elementOf(damage.element, records.count) * records.size + field.offset,
                          field.size);
}

bool DamagedChannel::isAsItWas(std::size_t offset, std::size_t size) const
{
    return std::memcmp(&mBytes[offset], &mOriginal[offset], size) == 0;
}

bool DamagedChannel::isGeometrySound() const
{
    return isAsItWas(0, sizeof(Superblock)) &&
           isAsItWas(mSuperblock.registry.offset + offsetof(Registry, messageStorage), sizeof(MessageStorage)) &&
           isAsItWas(mSuperblock.memoryManagers.offset, mSuperblock.memoryManagers.size);
}

void DamagedChannel::restore()
{
    for (const std::span<std::byte> damaged : mDamaged) {
        std::memcpy(damaged.data(), &mOriginal[static_cast<std::size_t>(damaged.data() - mBytes.data())],
                    damaged.size());
    }
    mDamaged.clear();
}
