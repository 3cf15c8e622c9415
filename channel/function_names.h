#ifndef CHANNEL_FUNCTION_NAMES_H
#define CHANNEL_FUNCTION_NAMES_H

#include "channel/record_types.h"

#include "oxa/oxa_zunic_function_storage.h"

#include <cstddef>
#include <string_view>
#include <vector>

namespace Channel {

/// An honest bus has one function storage for each interface. Damaged ones that many interfaces share could stand for
/// any amount of names: a reader of those of all interfaces stops after this many bytes.
constexpr std::size_t cMostFunctionNameBytes = std::size_t{64} << 20;

/// Appends the name of each function in the function storage at `location`, by position, to `names`; they point into
/// memory of the channel. Returns the result of oxa_zunic_function_storage_map, 0 when there is such a storage; nothing
/// is appended when there is none, or one that is not valid.
int readFunctionNames(oxa_zunic_memory_dispatcher_struct* dispatcher, const OxaZunic::OxaZunicRangeLocation& location,
                      std::vector<std::string_view>& names);

} // namespace Channel

#endif
