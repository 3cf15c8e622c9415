#ifndef CHANNEL_FUNCTION_NAMES_H
#define CHANNEL_FUNCTION_NAMES_H

#include "channel/record_types.h"

#include "oxa/oxa_zunic_function_storage.h"

#include <string_view>
#include <vector>

namespace Channel {

/// Appends the name of each function in the function storage at `location`, by position, to `names`; they point into
/// memory of the channel. Returns the result of oxa_zunic_function_storage_map, 0 when there is such a storage; nothing
/// is appended when there is none, or one that is not valid.
int readFunctionNames(oxa_zunic_memory_dispatcher_struct* dispatcher, const OxaZunic::OxaZunicRangeLocation& location,
                      std::vector<std::string_view>& names);

} // namespace Channel

#endif
