#ifndef TESTS_SUPPORT_VANDAL_H
#define TESTS_SUPPORT_VANDAL_H

#include "support/live_bus.h"

#include "zunic_hosting/channel_format.h"
#include "zunic_hosting/hosted_channel.h"

#include <cstring>
#include <random>
#include <span>
#include <vector>

namespace TestSupport {

/// Writes nonsense wherever a reader looks, but for the mutex, with no lock at all.
class Vandal
{
public:
    /// A channel for it.
    static ZunicHosting::HostedChannel createChannel()
    {
        return ZunicHosting::HostedChannel::create({.name = uniqueChannelName(),
                                                    .messageSlots = 64,
                                                    .memoryManagers = {{.maximumBlocks = cBlocks}, {.blockSize = 64}}});
    }

    explicit Vandal(ZunicHosting::HostedChannel& channel)
        : mRegistry(*reinterpret_cast<ZunicFormat::Registry*>(channel.registry())),
          mSlots(reinterpret_cast<ZunicFormat::MessageSlot*>(channel.messages()), channel.messageSlots())
    {
        const auto& superblock = *reinterpret_cast<const ZunicFormat::Superblock*>(channel.bytes().data());
        const auto managers = channel.bytes().subspan(superblock.memoryManagers.offset);
        mManager = &reinterpret_cast<ZunicFormat::MemoryManagerEntry*>(managers.data())->record;
        mPools = channel.bytes().subspan(superblock.pools.offset, superblock.pools.size);
        mTargets = {std::as_writable_bytes(std::span(mRegistry.interfaces).first(cEntries)),
                    std::as_writable_bytes(std::span(mRegistry.communicators).first(cEntries)),
                    std::as_writable_bytes(mSlots), std::as_writable_bytes(std::span(mManager->block_map)), mPools};
        channel.lock().publishFunctions({"getTime", "setTime", "", "wind"}); // In the first block.
        mFunctions.assign(mPools.begin(), mPools.begin() + cStorageSize);
    }

    [[noreturn]] void rage()
    {
        for (;;) {
            for (const std::span<std::byte> target : mTargets) {
                damage(target);
            }
            damageInterface(mRegistry.interfaces[random() % cEntries]);
            damageSlot(mSlots[random() % mSlots.size()]);
            std::memcpy(&mPools[random() % cStorages * cBlockSize], mFunctions.data(), random() % cStorageSize);
            mRegistry.messageStorage.lastWrittenIndex = random();
            mRegistry.messageStorage.writerCounter = static_cast<std::uint16_t>(random());
            mRegistry.messageStorage.storageSize = nowAndThenElse(static_cast<std::uint32_t>(mSlots.size()));
            mManager->manager.total_blocks = random();
            mManager->manager.maximum_blocks = nowAndThenElse(cBlocks);
        }
    }

private:
    /// Few of them, so that reports are short and runs many.
    static constexpr std::size_t cEntries = 48;
    static constexpr std::uint32_t cBlocks = 32;
    static constexpr std::size_t cBlockSize = 256;
    static constexpr std::size_t cStorages = 4;
    static constexpr std::size_t cStorageSize = 128; ///< no less than what is published takes

    std::uint32_t random() { return static_cast<std::uint32_t>(mRandom()); }

    /// A channel whose geometry is wrong is not even looked at.
    std::uint32_t nowAndThenElse(std::uint32_t geometry) { return random() % 16 == 0 ? random() : geometry; }

    /// Half of the numbers are small ones, as states and types are.
    void damage(std::span<std::byte> target)
    {
        const std::uint32_t number = random() % (random() % 2 == 0 ? 5 : 0xFFFFFFFF);
        const std::size_t size = std::size_t{1} << random() % 3;
        std::memcpy(&target[random() % (target.size() / size) * size], &number, size);
    }

    /// So that many are in use, of both types, with a known name and id, and with functions.
    void damageInterface(ZunicFormat::InterfaceEntry& entry)
    {
        entry.state = random() % 5;
        entry.type = random() % 4;
        entry.interfaceId = static_cast<std::uint16_t>(random() % cEntries);
        entry.functions = {0, static_cast<std::uint16_t>(random() % cStorages)};
        std::memcpy(entry.interfaceName, "Clock", random() % 7);
    }

    /// So that there are messages with chains.
    void damageSlot(ZunicFormat::MessageSlot& slot)
    {
        slot.stateAndSender =
            static_cast<std::uint16_t>(random() % cEntries << ZunicFormat::cSlotStateBits | random() % 5);
        slot.dataIndex = random() % static_cast<std::uint32_t>(mSlots.size());
    }

    std::mt19937 mRandom;
    ZunicFormat::Registry& mRegistry;
    std::span<ZunicFormat::MessageSlot> mSlots;
    oxa_memory_manager_record* mManager;
    std::span<std::byte> mPools;
    std::vector<std::byte> mFunctions; ///< a whole function storage
    std::vector<std::span<std::byte>> mTargets;
};

} // namespace TestSupport

#endif
