#include "oxa_hosting/oxa_memory_manager_hosting.h"

#include <algorithm>
#include <bit>
#include <cerrno>

namespace {

constexpr uint32_t cBitsPerWord = 64;
constexpr uint32_t cWords = cOxaMaximumBlocks / cBitsPerWord;

// __atomic builtins and not std::atomic_ref: readers have the memory mapped read-only, as const.
uint32_t load(const uint32_t& field)
{
    return __atomic_load_n(&field, __ATOMIC_ACQUIRE);
}

const uint64_t* blockMap(const oxa_memory_manager* manager)
{
    return reinterpret_cast<const uint64_t*>(manager) - cWords;
}

uint64_t* blockMap(oxa_memory_manager* manager)
{
    return reinterpret_cast<uint64_t*>(manager) - cWords;
}

uint64_t loadWord(const oxa_memory_manager* manager, uint32_t word)
{
    return __atomic_load_n(blockMap(manager) + word, __ATOMIC_ACQUIRE);
}

uint64_t bitOf(uint32_t block)
{
    return uint64_t{1} << (block % cBitsPerWord);
}

uint32_t countUsedBlocks(const oxa_memory_manager* manager)
{
    int used = 0;
    for (uint32_t word = 0; word < cWords; ++word) {
        used += std::popcount(loadWord(manager, word));
    }
    return static_cast<uint32_t>(used);
}

uint32_t lowestUnusedBlock(const oxa_memory_manager* manager)
{
    for (uint32_t word = 0; word < cWords; ++word) {
        const auto used = static_cast<uint32_t>(std::countr_one(loadWord(manager, word)));
        if (used < cBitsPerWord) {
            return word * cBitsPerWord + used;
        }
    }
    return cOxaMaximumBlocks;
}

/// The number of blocks after one enlargement.
uint32_t enlargedTotal(const oxa_memory_manager* manager, uint32_t total)
{
    const uint32_t maximum = std::min(load(manager->maximum_blocks), cOxaMaximumBlocks);
    return total >= maximum ? total : total + std::min(load(manager->additional_blocks), maximum - total);
}

} // namespace

int oxa_memory_manager_get_memory_block_status(oxa_memory_manager* manager, uint64_t* block_size,
                                               uint64_t* initial_blocks, uint64_t* additional_blocks,
                                               uint64_t* total_blocks, uint64_t* used_blocks)
{
    if (!manager || !block_size || !initial_blocks || !additional_blocks || !total_blocks || !used_blocks) {
        return EINVAL;
    }
    *block_size = __atomic_load_n(&manager->block_size, __ATOMIC_RELAXED);
    *initial_blocks = load(manager->initial_blocks);
    *additional_blocks = load(manager->additional_blocks);
    // In this order, an enlargement in between cannot show more blocks in use than there are.
    *used_blocks = countUsedBlocks(manager);
    *total_blocks = load(manager->total_blocks);
    return 0;
}

int oxa_memory_manager_initialize(oxa_memory_manager_record* record, uint64_t block_size, uint32_t initial_blocks,
                                  uint32_t additional_blocks, uint32_t maximum_blocks)
{
    if (!record || block_size == 0 || initial_blocks > maximum_blocks || maximum_blocks > cOxaMaximumBlocks) {
        return EINVAL;
    }
    *record = {};
    record->manager = {block_size, initial_blocks, additional_blocks, initial_blocks, maximum_blocks, 0};
    return 0;
}

int oxa_memory_manager_allocate(oxa_memory_manager* manager, uint32_t* block)
{
    const uint32_t candidate = lowestUnusedBlock(manager);
    const uint32_t total = load(manager->total_blocks);
    if (candidate >= total) {
        const uint32_t enlarged = enlargedTotal(manager, total);
        if (candidate >= enlarged) {
            return ENOSPC;
        }
        __atomic_store_n(&manager->total_blocks, enlarged, __ATOMIC_RELEASE);
    }
    __atomic_fetch_or(blockMap(manager) + candidate / cBitsPerWord, bitOf(candidate), __ATOMIC_ACQ_REL);
    *block = candidate;
    return 0;
}

int oxa_memory_manager_free(oxa_memory_manager* manager, uint32_t block)
{
    if (block >= cOxaMaximumBlocks) {
        return EINVAL;
    }
    const uint64_t bit = bitOf(block);
    const uint64_t before = __atomic_fetch_and(blockMap(manager) + block / cBitsPerWord, ~bit, __ATOMIC_ACQ_REL);
    return (before & bit) != 0 ? 0 : EINVAL;
}
