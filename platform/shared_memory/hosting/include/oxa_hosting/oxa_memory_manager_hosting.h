#ifndef OXA_HOSTING_OXA_MEMORY_MANAGER_HOSTING_H
#define OXA_HOSTING_OXA_MEMORY_MANAGER_HOSTING_H

#include "oxa/oxa_memory_manager.h"

#include <stddef.h>
#include <stdint.h>

constexpr uint32_t cOxaMaximumBlocks = 2048;

/// Lies directly behind its block map, in one oxa_memory_manager_record.
struct oxa_memory_manager
{
    uint64_t block_size; // bytes
    uint32_t initial_blocks;
    uint32_t additional_blocks;
    uint32_t total_blocks; // only ever grows
    uint32_t maximum_blocks;
    uint64_t unused;
};

/// One bit for each block, set while the block is in use. Setting the bit is all there is to an allocation, so that the
/// statistics are true even when a process dies halfway through one.
struct oxa_memory_manager_record
{
    uint64_t block_map[cOxaMaximumBlocks / 64];
    oxa_memory_manager manager;
};

static_assert(sizeof(oxa_memory_manager) == 32);
static_assert(offsetof(oxa_memory_manager_record, manager) == 256);

extern "C" {

/// Makes a manager without blocks in use of `record`: 0, or EINVAL unless
/// 1 <= block_size and initial_blocks <= maximum_blocks <= cOxaMaximumBlocks.
int oxa_memory_manager_initialize(oxa_memory_manager_record* record, uint64_t block_size, uint32_t initial_blocks,
                                  uint32_t additional_blocks, uint32_t maximum_blocks);

/// Puts the lowest unused block into use, enlarging the manager when there is none: 0, or ENOSPC when it cannot grow.
/// Callers exclude each other.
int oxa_memory_manager_allocate(oxa_memory_manager* manager, uint32_t* block);

/// Gives a block back: 0, or EINVAL when it is not in use.
int oxa_memory_manager_free(oxa_memory_manager* manager, uint32_t block);
}

#endif
