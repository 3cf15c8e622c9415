#ifndef SECOND_PROVIDER_OXA_ZUNIC_FUNCTION_STORAGE_H
#define SECOND_PROVIDER_OXA_ZUNIC_FUNCTION_STORAGE_H

#include <cstdint>
struct oxa_zunic_memory_dispatcher_struct;
struct oxa_zunic_range_location
{
    uint16_t memory_manager_index;
    uint16_t range_index;
};
struct oxa_zunic_function_storage
{
    uint64_t opaque[8];
};
extern "C" int oxa_zunic_function_storage_map(oxa_zunic_memory_dispatcher_struct* dispatcher,
                                              oxa_zunic_range_location location, oxa_zunic_function_storage* storage);
extern "C" bool oxa_zunic_function_storage_is_valid(const oxa_zunic_function_storage* storage);

#endif
