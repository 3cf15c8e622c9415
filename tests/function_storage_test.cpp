#include "oxa/oxa_zunic_communication_channel.h"
#include "oxa/oxa_zunic_function_storage.h"
#include "support/forked_child.h"
#include "support/live_bus.h"
#include "zunic_hosting/channel_format.h"
#include "zunic_hosting/hosted_channel.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <functional>
#include <gmock/gmock.h>
#include <random>

using testing::ElementsAre;
using testing::ElementsAreArray;
using TestSupport::ForkedChild;
using TestSupport::uniqueChannelName;
using ZunicFormat::FunctionRecord;
using ZunicFormat::FunctionStorageHeader;
using ZunicHosting::HostedChannel;

namespace {

constexpr std::size_t cBlockSize = 128;

template <typename Number>
Number numberAt(const void* base, std::size_t offset)
{
    Number number;
    std::memcpy(&number, static_cast<const std::byte*>(base) + offset, sizeof(number));
    return number;
}

/// The names, read as the tool reads them.
std::vector<std::string> namesIn(const oxa_zunic_function_storage& storage)
{
    std::vector<std::string> names;
    const auto count = numberAt<std::uint16_t>(numberAt<const std::byte*>(&storage, 32), 0);
    const auto* const records = numberAt<const std::byte*>(&storage, 48);
    const auto* const bytes = numberAt<const char*>(&storage, 56);
    for (std::size_t i = 0; i < count; ++i) {
        const auto offset = numberAt<std::uint32_t>(records, 12 * i + 4);
        names.emplace_back(bytes + offset, numberAt<std::uint32_t>(records, 12 * i + 8));
    }
    return names;
}

/// A channel with blocks of cBlockSize bytes, whose raw bytes the test can reach.
class FunctionStorage : public testing::Test
{
protected:
    FunctionStorage() { EXPECT_EQ(oxa_zunic_communication_channel_create(mHost.name().c_str(), &mHandle), 0); }
    ~FunctionStorage() override { oxa_zunic_communication_channel_destroy(mHandle); }

    int map(oxa_zunic_range_location location, oxa_zunic_function_storage& storage) const
    {
        std::byte* const dispatcher = reinterpret_cast<std::byte*>(mHandle) + 552;
        return oxa_zunic_function_storage_map(reinterpret_cast<oxa_zunic_memory_dispatcher_struct*>(dispatcher),
                                              location, &storage);
    }

    oxa_zunic_function_storage map(oxa_zunic_range_location location) const
    {
        oxa_zunic_function_storage storage{};
        EXPECT_EQ(map(location, storage), 0);
        return storage;
    }

    std::byte* block(oxa_zunic_range_location location) const
    {
        const auto pools = numberAt<ZunicFormat::Superblock>(mHost.bytes().data(), 0).pools.offset;
        return mHost.bytes().data() + pools + cBlockSize * location.range_index;
    }

    HostedChannel mHost = HostedChannel::create({.name = uniqueChannelName(),
                                                 .messageSlots = 1,
                                                 .memoryManagers = {{cBlockSize, 2, 1, 4}, {1 << 20, 0, 1, 1}}});
    oxa_zunic_communication_channel* mHandle = nullptr;
};

} // namespace

TEST_F(FunctionStorage, comesBackAsItWasPublished)
{
    const std::string binary{'\n', '\0', '\xFF'};
    std::vector<std::string> many(20000, "ab");
    for (const auto& names : {std::vector<std::string>{"open", "", "close", binary}, {}, {""}, many}) {
        const oxa_zunic_range_location location = mHost.lock().publishFunctions(names);
        const oxa_zunic_function_storage storage = map(location);
        ASSERT_TRUE(oxa_zunic_function_storage_is_valid(&storage));
        EXPECT_THAT(namesIn(storage), ElementsAreArray(names));
    }
}

TEST_F(FunctionStorage, isFoundOnlyInABlockThatIsInUse)
{
    const oxa_zunic_range_location used = mHost.lock().publishFunctions({"open"});
    const oxa_zunic_range_location freed = mHost.lock().publishFunctions({"close"});
    mHost.lock().freeBlock(freed);
    for (const auto& location : {freed,
                                 oxa_zunic_range_location{0, 2},
                                 {0, 3},
                                 {0, 4},
                                 {0, 2047},
                                 {0, 65535},
                                 {1, 0},
                                 {2, 0},
                                 {65535, 0},
                                 ZunicHosting::cNoLocation}) {
        oxa_zunic_function_storage storage;
        std::memset(&storage, 0xFF, sizeof(storage));
        EXPECT_EQ(map(location, storage), ENOENT) << location.memory_manager_index << ' ' << location.range_index;
        EXPECT_FALSE(oxa_zunic_function_storage_is_valid(&storage));
    }
    oxa_zunic_function_storage storage{};
    EXPECT_FALSE(oxa_zunic_function_storage_is_valid(&storage));
    EXPECT_FALSE(oxa_zunic_function_storage_is_valid(nullptr));
    EXPECT_EQ(oxa_zunic_function_storage_map(nullptr, used, &storage), EINVAL);
    EXPECT_EQ(map(used, storage), 0);
}

TEST_F(FunctionStorage, isNotInvalidatedByWhatHappensToItsBlock)
{
    const oxa_zunic_range_location location = mHost.lock().publishFunctions({"open", "close"});
    const oxa_zunic_function_storage before = map(location);
    std::fill_n(block(location), cBlockSize, std::byte{0xFF});
    const oxa_zunic_function_storage after = map(location);
    EXPECT_FALSE(oxa_zunic_function_storage_is_valid(&after));
    ASSERT_TRUE(oxa_zunic_function_storage_is_valid(&before));
    EXPECT_THAT(namesIn(before), ElementsAre("open", "close"));
}

TEST_F(FunctionStorage, isFoundWhereItWasWhateverHappensToTheManagersEntry)
{
    const oxa_zunic_range_location location = mHost.lock().publishFunctions({"open"});
    const auto plan = numberAt<ZunicFormat::Superblock>(mHost.bytes().data(), 0);
    auto& entry =
        *reinterpret_cast<ZunicFormat::MemoryManagerEntry*>(mHost.bytes().data() + plan.memoryManagers.offset);
    entry.poolOffset = UINT64_MAX;
    entry.record.manager.block_size = UINT64_MAX;
    entry.record.manager.maximum_blocks = UINT32_MAX;
    entry.record.manager.total_blocks = UINT32_MAX;
    std::ranges::fill(entry.record.block_map, UINT64_MAX);
    EXPECT_THAT(namesIn(map(location)), ElementsAre("open"));
    oxa_zunic_function_storage storage;
    EXPECT_EQ(map({0, 4}, storage), ENOENT) << "more blocks than the pool has room for";
}

TEST_F(FunctionStorage, isInvalidWhenItReachesBeyondItself)
{
    constexpr std::size_t cRoom = cBlockSize - sizeof(FunctionStorageHeader);
    const std::vector<std::function<void(FunctionStorageHeader&, FunctionRecord*)>> damages = {
        [](auto& header, auto*) { ++header.magic; },
        [](auto& header, auto*) { header.magic = 0; },
        [](auto& header, auto*) { header.functionCount = cRoom / sizeof(FunctionRecord) + 1; },
        [](auto& header, auto*) { header.functionCount = UINT16_MAX; },
        [](auto& header, auto*) { header.namesSize = cRoom - 2 * sizeof(FunctionRecord) + 1; },
        [](auto& header, auto*) { header.namesSize = UINT32_MAX; },
        [](auto& header, auto*) { --header.namesSize; },
        [](auto&, auto* records) { ++records[1].nameOffset; },
        [](auto&, auto* records) { ++records[1].nameLength; },
        [](auto&, auto* records) { records[0].nameOffset = UINT32_MAX; },
        [](auto&, auto* records) { records[0].nameLength = UINT32_MAX; },
        // Each inside the names, but both longer than all of them.
        [](auto&, auto* records) {
            records[1] = {0, 0, 6};
        },
        // The sum wraps around to 4.
        [](auto&, auto* records) {
            records[0] = {0, UINT32_MAX, 5};
        },
    };
    const oxa_zunic_range_location location = mHost.lock().publishFunctions({"open", "close"});
    const std::vector<std::byte> intact(block(location), block(location) + cBlockSize);
    for (const auto& damage : damages) {
        std::copy(intact.begin(), intact.end(), block(location));
        auto* const header = reinterpret_cast<FunctionStorageHeader*>(block(location));
        damage(*header, reinterpret_cast<FunctionRecord*>(header + 1));
        const oxa_zunic_function_storage storage = map(location);
        EXPECT_FALSE(oxa_zunic_function_storage_is_valid(&storage)) << "damage " << &damage - damages.data();
    }
}

TEST_F(FunctionStorage, staysInsideWhileAnotherProcessWritesGarbage)
{
    const oxa_zunic_range_location location = mHost.lock().publishFunctions({"open", "close"});
    ForkedChild vandal([&] {
        std::mt19937 random(1);
        auto* const header = reinterpret_cast<volatile FunctionStorageHeader*>(block(location));
        auto* const record = reinterpret_cast<volatile FunctionRecord*>(block(location) + sizeof(*header));
        for (;;) {
            header->functionCount = static_cast<std::uint16_t>(random() % 16);
            header->namesSize = static_cast<std::uint32_t>(random() % 200);
            record->nameLength = static_cast<std::uint32_t>(random() % 32);
        }
        return 0;
    });
    int valid = 0;
    for (int round = 0; round < 20000 || valid == 0; ++round) {
        const oxa_zunic_function_storage storage = map(location);
        if (oxa_zunic_function_storage_is_valid(&storage)) {
            ++valid;
            for (const std::string& name : namesIn(storage)) {
                ASSERT_LE(name.size(), cBlockSize);
            }
        }
    }
}
