#ifndef OXA_OXA_MEMORY_MANAGER_H
#define OXA_OXA_MEMORY_MANAGER_H

#include <stdint.h>

/// Hands out blocks of one size from a pool in shared memory.
typedef struct oxa_memory_manager oxa_memory_manager;

#ifdef __cplusplus
extern "C" {
#endif

/// Fills in the block size in bytes, the number of blocks at creation, the number of blocks that an enlargement adds,
/// the blocks there are now and the blocks in use: 0, or EINVAL with nothing filled in when an argument is null.
/// Takes no lock: each number is true at some moment of the call.
int oxa_memory_manager_get_memory_block_status(oxa_memory_manager* manager, uint64_t* block_size,
                                               uint64_t* initial_blocks, uint64_t* additional_blocks,
                                               uint64_t* total_blocks, uint64_t* used_blocks);

#ifdef __cplusplus
}
#endif

#endif
