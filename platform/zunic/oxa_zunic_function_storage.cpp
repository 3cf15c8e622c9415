#include "oxa/oxa_zunic_function_storage.h"
#include "attached_channel.h"

#include <atomic>
#include <cerrno>
#include <cstring>
#include <new>
#include <utility>
#include <vector>

using ZunicFormat::FunctionRecord;
using ZunicFormat::FunctionStorageHeader;

namespace {

constexpr std::uint64_t cValid = 1;

struct MappedFunctionStorage
{
    std::uint64_t validity;
    std::uint64_t unused1[3];
    const std::byte* functionCount;
    std::uint64_t unused2;
    const std::byte* records;
    const std::byte* names;
};

static_assert(offsetof(MappedFunctionStorage, functionCount) == 32);
static_assert(offsetof(MappedFunctionStorage, records) == 48);
static_assert(offsetof(MappedFunctionStorage, names) == 56);
static_assert(sizeof(MappedFunctionStorage) == sizeof(oxa_zunic_function_storage));

/// Every name lies inside the names, and all of them together take no more room than there is: otherwise one damaged
/// block could stand for names of any total length.
bool areNamesInside(const FunctionStorageHeader& header, const std::byte* records)
{
    std::uint64_t room = header.namesSize;
    for (std::size_t i = 0; i < header.functionCount; ++i) {
        FunctionRecord record;
        std::memcpy(&record, records + i * sizeof(record), sizeof(record));
        if (record.nameLength > room || std::uint64_t{record.nameOffset} + record.nameLength > header.namesSize) {
            return false;
        }
        room -= record.nameLength;
    }
    return true;
}

/// A checked copy of the function storage in a block; empty when it holds none.
std::vector<std::byte> copyBlock(const std::byte* block, std::uint64_t blockSize)
{
    FunctionStorageHeader header{};
    if (blockSize < sizeof(header)) {
        return {};
    }
    // The magic, which is written last, before everything else. A block need not be aligned for an atomic load.
    std::uint32_t magic = 0;
    std::memcpy(&magic, block + offsetof(FunctionStorageHeader, magic), sizeof(magic));
    std::atomic_thread_fence(std::memory_order_acquire);
    std::memcpy(&header, block, sizeof(header));
    const std::size_t recordsSize = header.functionCount * sizeof(FunctionRecord);
    if (magic != ZunicFormat::cFunctionStorageMagic ||
        recordsSize + std::uint64_t{header.namesSize} > blockSize - sizeof(header)) {
        return {};
    }

    // With the header that was checked: the one in the block may have changed since.
    std::vector<std::byte> copy(sizeof(header) + recordsSize + header.namesSize);
    std::memcpy(copy.data(), &header, sizeof(header));
    std::memcpy(copy.data() + sizeof(header), block + sizeof(header), copy.size() - sizeof(header));
    return areNamesInside(header, copy.data() + sizeof(header)) ? copy : std::vector<std::byte>();
}

MappedFunctionStorage show(const std::vector<std::byte>& copy)
{
    FunctionStorageHeader header{};
    std::memcpy(&header, copy.data(), sizeof(header));
    const std::byte* const records = copy.data() + sizeof(header);
    return {cValid, {},      copy.data() + offsetof(FunctionStorageHeader, functionCount),
            0,      records, records + header.functionCount * sizeof(FunctionRecord)};
}

/// All zero, which is no valid storage, when the block does not hold a function storage.
MappedFunctionStorage mapBlock(AttachedChannel& channel, oxa_zunic_range_location location, const std::byte* block,
                               std::uint64_t blockSize)
{
    // One copy for each place, and not for each version of it: a registry may name one that changes a thousand times.
    if (const std::vector<std::byte>* const kept = channel.findCopy(location)) {
        return show(*kept);
    }
    std::vector<std::byte> copy = copyBlock(block, blockSize);
    return copy.empty() ? MappedFunctionStorage{} : show(channel.keepCopy(location, std::move(copy)));
}

} // namespace

int oxa_zunic_function_storage_map(oxa_zunic_memory_dispatcher_struct* dispatcher, oxa_zunic_range_location location,
                                   oxa_zunic_function_storage* storage)
{
    if (!dispatcher || !storage) {
        return EINVAL;
    }
    *storage = {};
    std::uint64_t blockSize = 0;
    const std::byte* const block = dispatcher->channel->findBlock(location, blockSize);
    if (!block) {
        return ENOENT;
    }
    try {
        const MappedFunctionStorage mapped = mapBlock(*dispatcher->channel, location, block, blockSize);
        std::memcpy(storage, &mapped, sizeof(mapped));
        return 0;
    } catch (const std::bad_alloc&) {
        return ENOMEM;
    }
}

bool oxa_zunic_function_storage_is_valid(const oxa_zunic_function_storage* storage)
{
    return storage && storage->opaque[0] == cValid;
}
