#include "oxa/oxa_zunic_communication_channel.h"
#include "oxa/oxa_zunic_function_storage.h"
#include "support/forked_child.h"
#include "support/live_bus.h"
#include "zunic_hosting/channel_format.h"
#include "zunic_hosting/hosted_channel.h"

#include <cerrno>
#include <cstring>
#include <gmock/gmock.h>
#include <random>

using testing::ElementsAre;

namespace {

constexpr std::size_t cBlockSize = 128;

/// A block with a function storage of two names.
struct Block
{
    ZunicFormat::FunctionStorageHeader header;
    ZunicFormat::FunctionRecord records[2];
    char rest[cBlockSize - sizeof header - sizeof records];
};
static_assert(sizeof(Block) == cBlockSize);

/// A mapped storage as the tool sees it.
struct Mapped
{
    std::byte unused1[32];
    const std::uint16_t* count;
    std::byte unused2[8];
    const ZunicFormat::FunctionRecord* records;
    const char* bytes;
};

std::vector<std::string> namesIn(const oxa_zunic_function_storage& storage)
{
    EXPECT_TRUE(oxa_zunic_function_storage_is_valid(&storage));
    Mapped mapped;
    std::memcpy(&mapped, &storage, sizeof mapped);
    std::vector<std::string> names;
    for (const auto& record : std::span(mapped.records, *mapped.count)) {
        names.emplace_back(mapped.bytes + record.nameOffset, record.nameLength);
    }
    return names;
}

/// A channel that this process hosts and, as the tool does it, is attached to.
class FunctionStorage : public testing::Test
{
protected:
    FunctionStorage() { attachAnew(); }
    ~FunctionStorage() override { oxa_zunic_communication_channel_destroy(mHandle); }

    void attachAnew()
    {
        oxa_zunic_communication_channel_destroy(mHandle);
        EXPECT_EQ(oxa_zunic_communication_channel_create(mHost.name().c_str(), &mHandle), 0);
    }

    oxa_zunic_function_storage map(oxa_zunic_range_location location, int expected = 0) const
    {
        oxa_zunic_function_storage storage;
        std::memset(&storage, 0xFF, sizeof storage);
        auto* const dispatcher = reinterpret_cast<std::byte*>(mHandle) + 552;
        EXPECT_EQ(oxa_zunic_function_storage_map(reinterpret_cast<oxa_zunic_memory_dispatcher_struct*>(dispatcher),
                                                 location, &storage),
                  expected)
            << location.memory_manager_index << ' ' << location.range_index;
        return storage;
    }

    Block& block(oxa_zunic_range_location location) const
    {
        return reinterpret_cast<Block*>(&mHost.bytes()[mPlan.pools.offset])[location.range_index];
    }

    ZunicHosting::HostedChannel mHost = ZunicHosting::HostedChannel::create(
        {.name = TestSupport::uniqueChannelName(), .memoryManagers = {{cBlockSize, 2, 1, 4}, {1 << 20, 0, 1, 1}}});
    const ZunicFormat::Superblock& mPlan = *reinterpret_cast<const ZunicFormat::Superblock*>(mHost.bytes().data());
    oxa_zunic_communication_channel* mHandle = nullptr;
};

} // namespace

TEST_F(FunctionStorage, comesBackAsItWasPublished)
{
    const std::string binary{'\n', '\0', '\xFF'};
    const std::vector<std::string> many(20000, "ab");
    for (const auto& names : {std::vector<std::string>{"open", "", binary}, {}, many}) {
        EXPECT_EQ(namesIn(map(mHost.lock().publishFunctions(names))), names);
    }
}

TEST_F(FunctionStorage, isFoundOnlyInABlockThatIsInUse)
{
    const oxa_zunic_range_location freed = mHost.lock().publishFunctions({"close"});
    mHost.lock().freeBlock(freed);
    for (const auto& location :
         {freed, oxa_zunic_range_location{0, 1}, {0, 4}, {0, 65535}, {1, 0}, {2, 0}, ZunicHosting::cNoLocation}) {
        const oxa_zunic_function_storage storage = map(location, ENOENT);
        EXPECT_FALSE(oxa_zunic_function_storage_is_valid(&storage));
    }
}

TEST_F(FunctionStorage, isFoundWhereItWasWhateverHappensToTheManagersEntry)
{
    const oxa_zunic_range_location location = mHost.lock().publishFunctions({"open"});
    std::memset(&mHost.bytes()[mPlan.memoryManagers.offset], 0xFF, sizeof(ZunicFormat::MemoryManagerEntry));
    EXPECT_THAT(namesIn(map(location)), ElementsAre("open"));
    map({0, 4}, ENOENT); // more blocks than the pool has room for
}

TEST_F(FunctionStorage, isInvalidWhenItReachesBeyondItself)
{
    constexpr std::size_t cRoom = cBlockSize - sizeof(ZunicFormat::FunctionStorageHeader);
    void (*const damages[])(Block&) = {
        [](auto& at) { ++at.header.magic; },
        [](auto& at) { at.header.functionCount = cRoom / 12 + 1; },
        [](auto& at) { at.header.namesSize = cRoom - sizeof(Block::records) + 1; },
        [](auto& at) { at.header.namesSize = UINT32_MAX; },
        [](auto& at) { ++at.records[1].nameOffset; },
        [](auto& at) { ++at.records[1].nameLength; },
        // Each inside the names, but both longer than all of them.
        [](auto& at) { at.records[1].nameOffset = 0, at.records[1].nameLength = 6; },
        // The sum wraps around to 4.
        [](auto& at) { at.records[0].nameOffset = UINT32_MAX, at.records[0].nameLength = 5; },
    };
    const oxa_zunic_range_location location = mHost.lock().publishFunctions({"open", "close"});
    const Block intact = block(location);
    for (const auto& damage : damages) {
        block(location) = intact;
        damage(block(location));
        const oxa_zunic_function_storage storage = map(location);
        EXPECT_FALSE(oxa_zunic_function_storage_is_valid(&storage)) << "damage " << &damage - damages;
    }
    block(location) = intact;
    const oxa_zunic_function_storage before = map(location);
    std::memset(&block(location), 0xFF, cBlockSize);
    EXPECT_THAT(namesIn(before), ElementsAre("open", "close")) << "what was mapped before is a copy";
}

TEST_F(FunctionStorage, isCopiedOnceHoweverOftenItChanges)
{
    const oxa_zunic_range_location location = mHost.lock().publishFunctions({"open", "close"});
    const oxa_zunic_function_storage first = map(location);
    block(location).header.functionCount = 1;
    EXPECT_EQ(std::memcmp(map(location).opaque, first.opaque, sizeof first.opaque), 0);
    mHost.lock().freeBlock(location);
    map(location, ENOENT);
}

TEST_F(FunctionStorage, staysInsideWhileAnotherProcessWritesGarbage)
{
    const oxa_zunic_range_location location = mHost.lock().publishFunctions({"open", "close"});
    const TestSupport::ForkedChild vandal([&] {
        std::mt19937 random(1);
        for (volatile Block& garbage = block(location);;) {
            garbage.header.functionCount = static_cast<std::uint16_t>(random() % 16);
            garbage.header.namesSize = static_cast<std::uint32_t>(random() % 200);
            garbage.records[0].nameLength = static_cast<std::uint32_t>(random() % 32);
        }
        return 0;
    });
    int valid = 0;
    for (int round = 0; round < 2000 || valid == 0; ++round) {
        const oxa_zunic_function_storage storage = map(location);
        if (oxa_zunic_function_storage_is_valid(&storage)) {
            ++valid;
            for (const std::string& name : namesIn(storage)) {
                ASSERT_LE(name.size(), cBlockSize);
            }
            attachAnew(); // or it would be the same copy for ever
        }
    }
}
