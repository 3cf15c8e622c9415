#ifndef CHANNEL_MEMORY_MANAGERS_H
#define CHANNEL_MEMORY_MANAGERS_H

#include "channel/channel_layout.h"

#include "oxa/oxa_memory_manager.h"

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace Channel {

/// What a memory manager says about its pool, in blocks but for their size.
struct MemoryManagerFigures
{
    std::uint64_t mBlockSize = 0; ///< bytes
    std::uint64_t mInitialBlocks = 0;
    std::uint64_t mAdditionalBlocks = 0; ///< that an enlargement adds
    std::uint64_t mTotalBlocks = 0;
    std::uint64_t mUsedBlocks = 0;
    bool operator==(const MemoryManagerFigures& other) const = default;
};

/// The memory managers of a channel, read in place while other processes use them.
class MemoryManagers
{
public:
    /// `dispatcher` is the channel's, and not null.
    explicit MemoryManagers(const oxa_zunic_memory_dispatcher_struct* dispatcher)
        : mDispatcher(dispatcher), mManagers(readAt<std::byte*>(dispatcher, cDispatcherManagers))
    {}

    /// False when the dispatcher has no array of managers.
    bool isPresent() const { return mManagers != nullptr; }

    /// Read again with each call: managers may be added meanwhile, and are complete when they are counted.
    std::uint32_t count() const
    {
        const auto count = readAt<std::uint32_t>(mDispatcher, cDispatcherManagerCount);
        std::atomic_thread_fence(std::memory_order_acquire);
        return count;
    }

    /// Of the manager `index`, below `count`. What a failing manager does not tell stays 0.
    MemoryManagerFigures figures(std::size_t index) const
    {
        std::byte* const manager = mManagers + index * cManagerEntrySize + cManagerInEntry;
        MemoryManagerFigures figures;
        oxa_memory_manager_get_memory_block_status(reinterpret_cast<oxa_memory_manager*>(manager), &figures.mBlockSize,
                                                   &figures.mInitialBlocks, &figures.mAdditionalBlocks,
                                                   &figures.mTotalBlocks, &figures.mUsedBlocks);
        return figures;
    }

private:
    const oxa_zunic_memory_dispatcher_struct* mDispatcher;
    std::byte* mManagers;
};

} // namespace Channel

#endif
