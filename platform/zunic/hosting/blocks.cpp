#include "failures.h"
#include "hosted_object.h"
#include "publishing.h"

#include <cerrno>
#include <cstring>
#include <optional>

using ZunicFormat::FunctionRecord;
using ZunicFormat::FunctionStorageHeader;

namespace ZunicHosting {
namespace {

/// The block of a function storage as it will be, but for its magic.
std::vector<std::byte> composeFunctionStorage(const std::vector<std::string>& names)
{
    std::vector<FunctionRecord> records;
    std::string allNames;
    for (const std::string& name : names) {
        records.push_back({0, static_cast<std::uint32_t>(allNames.size()), static_cast<std::uint32_t>(name.size())});
        allNames += name;
    }
    const FunctionStorageHeader header{0, static_cast<std::uint16_t>(names.size()), 0,
                                       static_cast<std::uint32_t>(allNames.size()), 0};
    const auto headerBytes = std::as_bytes(std::span(&header, 1));
    const auto recordBytes = std::as_bytes(std::span(records));
    const auto nameBytes = std::as_bytes(std::span(allNames));
    std::vector<std::byte> block(headerBytes.begin(), headerBytes.end());
    block.insert(block.end(), recordBytes.begin(), recordBytes.end());
    block.insert(block.end(), nameBytes.begin(), nameBytes.end());
    return block;
}

std::optional<oxa_zunic_range_location> tryAllocate(const HostedObject& object, std::uint16_t managerIndex)
{
    std::uint32_t block = 0;
    if (oxa_memory_manager_allocate(object.memoryManager(managerIndex), &block) != 0) {
        return std::nullopt;
    }
    return oxa_zunic_range_location{managerIndex, static_cast<std::uint16_t>(block)};
}

oxa_zunic_range_location allocateBlockOfSize(const HostedObject& object, std::size_t size)
{
    for (std::uint16_t index = 0; index < object.pools().size(); ++index) {
        if (object.pools()[index].blockSize < size) {
            continue;
        }
        if (const auto location = tryAllocate(object, index)) {
            return *location;
        }
    }
    fail(ENOSPC, "no memory manager has a free block of " + std::to_string(size) + " bytes");
}

} // namespace

oxa_zunic_range_location LockedRegistry::allocateBlock(std::uint16_t managerIndex)
{
    require(managerIndex < mObject.pools().size(), "there is no such memory manager");
    const auto location = tryAllocate(mObject, managerIndex);
    if (!location) {
        fail(ENOSPC, "memory manager " + std::to_string(managerIndex) + " cannot grow");
    }
    return *location;
}

void LockedRegistry::freeBlock(oxa_zunic_range_location location)
{
    if (!mObject.freeBlock(location)) {
        fail(ENOENT, "the block is not in use");
    }
}

oxa_zunic_range_location LockedRegistry::publishFunctions(const std::vector<std::string>& names)
{
    require(names.size() <= UINT16_MAX, "a function storage cannot hold that many functions");
    const std::vector<std::byte> content = composeFunctionStorage(names);
    const oxa_zunic_range_location location = allocateBlockOfSize(mObject, content.size());
    std::byte* const block = mObject.block(location);
    // The magic last: a block that is half written is no function storage.
    std::memcpy(block, content.data(), content.size());
    std::atomic_thread_fence(std::memory_order_release);
    std::memcpy(block, &ZunicFormat::cFunctionStorageMagic, sizeof(ZunicFormat::cFunctionStorageMagic));
    return location;
}

} // namespace ZunicHosting
