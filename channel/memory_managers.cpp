#include "channel/memory_managers.h"

#include "oxa/oxa_memory_manager.h"

namespace Channel {

MemoryManagerFigures MemoryManagers::figures(std::size_t index) const
{
    std::byte* const manager = mManagers + index * cManagerEntrySize + cManagerInEntry;
    MemoryManagerFigures figures;
    oxa_memory_manager_get_memory_block_status(reinterpret_cast<oxa_memory_manager*>(manager), &figures.mBlockSize,
                                               &figures.mInitialBlocks, &figures.mAdditionalBlocks,
                                               &figures.mTotalBlocks, &figures.mUsedBlocks);
    return figures;
}

} // namespace Channel
