#include "oxa/oxa_zunic_function_storage.h"
#include "support/attached_channel.h"
#include "support/forked_child.h"
#include "zunic_hosting/channel_format.h"

#include <algorithm>
#include <cerrno>
#include <gmock/gmock.h>
#include <random>

using testing::ElementsAre;
using TestSupport::ForkedChild;
using TestSupport::valueAt;

namespace {

constexpr std::size_t cBlockSize = 128;

/// A block with a function storage of two names.
struct Block
{
    ZunicFormat::FunctionStorageHeader header;
    ZunicFormat::FunctionRecord records[2];
    char rest[cBlockSize - 16 - 2 * 12];
};
static_assert(sizeof(Block) == cBlockSize);

/// The names, read as the tool reads them.
std::vector<std::string> namesIn(const oxa_zunic_function_storage& storage)
{
    EXPECT_TRUE(oxa_zunic_function_storage_is_valid(&storage));
    std::vector<std::string> names;
    const auto count = valueAt<std::uint16_t>(valueAt<const std::byte*>(&storage, 32), 0);
    const auto* const records = valueAt<const std::byte*>(&storage, 48);
    const auto* const bytes = valueAt<const char*>(&storage, 56);
    for (std::size_t i = 0; i < count; ++i) {
        const auto offset = valueAt<std::uint32_t>(records, 12 * i + 4);
        names.emplace_back(bytes + offset, valueAt<std::uint32_t>(records, 12 * i + 8));
    }
    return names;
}

/// A channel with blocks of cBlockSize bytes, whose raw bytes the test can reach.
class FunctionStorage : public TestSupport::AttachedChannel
{
protected:
    FunctionStorage() : AttachedChannel(1, {{cBlockSize, 2, 1, 4}, {1 << 20, 0, 1, 1}}) {}

    int map(oxa_zunic_range_location location, oxa_zunic_function_storage& storage) const
    {
        return oxa_zunic_function_storage_map(reinterpret_cast<oxa_zunic_memory_dispatcher_struct*>(dispatcher()),
                                              location, &storage);
    }

    oxa_zunic_function_storage map(oxa_zunic_range_location location) const
    {
        oxa_zunic_function_storage storage{};
        EXPECT_EQ(map(location, storage), 0);
        return storage;
    }

    Block& block(oxa_zunic_range_location location) const
    {
        const auto pools = valueAt<ZunicFormat::Superblock>(mHost.bytes().data(), 0).pools.offset;
        return reinterpret_cast<Block*>(mHost.bytes().data() + pools)[location.range_index];
    }
};

} // namespace

TEST_F(FunctionStorage, comesBackAsItWasPublished)
{
    const std::string binary{'\n', '\0', '\xFF'};
    const std::vector<std::string> many(20000, "ab");
    for (const auto& names : {std::vector<std::string>{"open", "", "close", binary}, {}, {""}, many}) {
        EXPECT_EQ(namesIn(map(mHost.lock().publishFunctions(names))), names);
    }
}

TEST_F(FunctionStorage, isFoundOnlyInABlockThatIsInUse)
{
    const oxa_zunic_range_location used = mHost.lock().publishFunctions({"open"});
    const oxa_zunic_range_location freed = mHost.lock().publishFunctions({"close"});
    mHost.lock().freeBlock(freed);
    oxa_zunic_function_storage storage;
    for (const auto& location : {freed,
                                 oxa_zunic_range_location{0, 2},
                                 {0, 4},
                                 {0, 2047},
                                 {0, 65535},
                                 {1, 0},
                                 {2, 0},
                                 ZunicHosting::cNoLocation}) {
        std::memset(&storage, 0xFF, sizeof(storage));
        EXPECT_EQ(map(location, storage), ENOENT) << location.memory_manager_index << ' ' << location.range_index;
        EXPECT_FALSE(oxa_zunic_function_storage_is_valid(&storage));
    }
    EXPECT_FALSE(oxa_zunic_function_storage_is_valid(nullptr));
    EXPECT_EQ(oxa_zunic_function_storage_map(nullptr, used, &storage), EINVAL);
    EXPECT_EQ(map(used, storage), 0);
}

TEST_F(FunctionStorage, isFoundWhereItWasWhateverHappensToTheManagersEntry)
{
    const oxa_zunic_range_location location = mHost.lock().publishFunctions({"open"});
    const auto plan = valueAt<ZunicFormat::Superblock>(mHost.bytes().data(), 0);
    std::fill_n(mHost.bytes().data() + plan.memoryManagers.offset, sizeof(ZunicFormat::MemoryManagerEntry),
                std::byte{0xFF});
    EXPECT_THAT(namesIn(map(location)), ElementsAre("open"));
    oxa_zunic_function_storage storage;
    EXPECT_EQ(map({0, 4}, storage), ENOENT) << "more blocks than the pool has room for";
}

TEST_F(FunctionStorage, isInvalidWhenItReachesBeyondItself)
{
    constexpr std::size_t cRoom = cBlockSize - sizeof(ZunicFormat::FunctionStorageHeader);
    void (*const damages[])(Block&) = {
        [](auto& at) { ++at.header.magic; },
        [](auto& at) { at.header.magic = 0; },
        [](auto& at) { at.header.functionCount = cRoom / 12 + 1; },
        [](auto& at) { at.header.functionCount = UINT16_MAX; },
        [](auto& at) { at.header.namesSize = cRoom - 2 * 12 + 1; },
        [](auto& at) { at.header.namesSize = UINT32_MAX; },
        [](auto& at) { --at.header.namesSize; },
        [](auto& at) { ++at.records[1].nameOffset; },
        [](auto& at) { ++at.records[1].nameLength; },
        [](auto& at) { at.records[0].nameOffset = UINT32_MAX; },
        [](auto& at) { at.records[0].nameLength = UINT32_MAX; },
        // Each inside the names, but both longer than all of them.
        [](auto& at) { at.records[1].nameOffset = 0, at.records[1].nameLength = 6; },
        // The sum wraps around to 4.
        [](auto& at) { at.records[0].nameOffset = UINT32_MAX, at.records[0].nameLength = 5; },
    };
    const oxa_zunic_range_location location = mHost.lock().publishFunctions({"open", "close"});
    const oxa_zunic_function_storage before = map(location);
    const Block intact = block(location);
    for (const auto& damage : damages) {
        block(location) = intact;
        damage(block(location));
        const oxa_zunic_function_storage storage = map(location);
        EXPECT_FALSE(oxa_zunic_function_storage_is_valid(&storage)) << "damage " << &damage - damages;
    }
    std::memset(&block(location), 0xFF, cBlockSize);
    EXPECT_THAT(namesIn(before), ElementsAre("open", "close")) << "what was mapped before is a copy";
}

TEST_F(FunctionStorage, staysInsideWhileAnotherProcessWritesGarbage)
{
    const oxa_zunic_range_location location = mHost.lock().publishFunctions({"open", "close"});
    const ForkedChild vandal([&] {
        std::mt19937 random(1);
        for (volatile Block& garbage = block(location);;) {
            garbage.header.functionCount = static_cast<std::uint16_t>(random() % 16);
            garbage.header.namesSize = static_cast<std::uint32_t>(random() % 200);
            garbage.records[0].nameLength = static_cast<std::uint32_t>(random() % 32);
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
