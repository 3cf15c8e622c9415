#include "oxa/oxa_memory_manager.h"
#include "oxa/oxa_mutex.h"

#include <cerrno>

// The mutex is its first byte: 1 while it is held.
int oxa_mutex_lock(oxa_mutex* mutex)
{
    char& isHeld = *reinterpret_cast<char*>(mutex);
    return isHeld++ == 0 ? 0 : EBUSY;
}

int oxa_mutex_unlock(oxa_mutex* mutex)
{
    *reinterpret_cast<char*>(mutex) = 0;
    return 0;
}

// The memory manager is its block size.
int oxa_memory_manager_get_memory_block_status(oxa_memory_manager* manager, uint64_t* block_size,
                                               uint64_t* initial_blocks, uint64_t* additional_blocks,
                                               uint64_t* total_blocks, uint64_t* used_blocks)
{
    *block_size = *reinterpret_cast<const uint64_t*>(manager);
    *initial_blocks = 5;
    *additional_blocks = 6;
    *total_blocks = 11;
    *used_blocks = 7;
    return 0;
}
