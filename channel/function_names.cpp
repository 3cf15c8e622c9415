#include "channel/function_names.h"

#include "channel/channel_layout.h"

namespace Channel {

int readFunctionNames(oxa_zunic_memory_dispatcher_struct* dispatcher, const OxaZunic::OxaZunicRangeLocation& location,
                      std::vector<std::string_view>& names)
{
    oxa_zunic_function_storage storage{};
    const int mapped =
        oxa_zunic_function_storage_map(dispatcher, {location.mMemoryManagerIndex, location.mRangeIndex}, &storage);
    if (mapped != 0 || !oxa_zunic_function_storage_is_valid(&storage)) {
        return mapped;
    }
    const auto count = readAt<std::uint16_t>(readAt<const void*>(&storage, cFunctionStorageCount), 0);
    const auto* const records = readAt<const std::byte*>(&storage, cFunctionStorageRecords);
    const auto* const nameBytes = readAt<const char*>(&storage, cFunctionStorageNames);
    names.reserve(names.size() + count);
    for (std::size_t i = 0; i < count; ++i) {
        const auto record = readAt<FunctionRecord>(records, i * sizeof(FunctionRecord));
        names.emplace_back(nameBytes + record.mNameOffset, record.mNameLength);
    }
    return mapped;
}

} // namespace Channel
