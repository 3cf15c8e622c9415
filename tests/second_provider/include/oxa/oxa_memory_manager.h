#ifndef SECOND_PROVIDER_OXA_MEMORY_MANAGER_H
#define SECOND_PROVIDER_OXA_MEMORY_MANAGER_H

#include <cstdint>
struct oxa_memory_manager;
extern "C" int oxa_memory_manager_get_memory_block_status(oxa_memory_manager* manager, uint64_t* block_size,
                                                          uint64_t* initial_blocks, uint64_t* additional_blocks,
                                                          uint64_t* total_blocks, uint64_t* used_blocks);

#endif
