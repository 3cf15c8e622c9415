#ifndef OXA_OXA_ZUNIC_FUNCTION_STORAGE_H
#define OXA_OXA_ZUNIC_FUNCTION_STORAGE_H

#include <stdbool.h>
#include <stdint.h>

/// The memory managers of a channel; lies inside the channel handle.
typedef struct oxa_zunic_memory_dispatcher_struct oxa_zunic_memory_dispatcher_struct;

/// Where in a memory dispatcher a block lies.
typedef struct oxa_zunic_range_location
{
    uint16_t memory_manager_index;
    uint16_t range_index;
} oxa_zunic_range_location;

/// A mapped function storage. At byte 32 lies the address of the number of functions (uint16_t), at 48 the address of
/// the function records (12 bytes each: 4 unused, offset and length of the name as uint32_t), at 56 the address of the
/// name bytes; the rest is the library's own.
typedef struct oxa_zunic_function_storage
{
    uint64_t opaque[8];
} oxa_zunic_function_storage;

#ifdef __cplusplus
extern "C" {
#endif

/// Fills in `storage` for the block at `location`: 0, or an errno value where there is no such block.
/// What `storage` points to is a checked private copy, owned by the channel handle and valid until it is destroyed.
/// A place that was valid once answers from that copy as long as a block is in use there: the handle shows what it held
/// first, whatever was published there since.
int oxa_zunic_function_storage_map(oxa_zunic_memory_dispatcher_struct* dispatcher, oxa_zunic_range_location location,
                                   oxa_zunic_function_storage* storage);

/// True when the mapped block holds a function storage and every name lies inside its name bytes.
bool oxa_zunic_function_storage_is_valid(const oxa_zunic_function_storage* storage);

#ifdef __cplusplus
}
#endif

#endif
