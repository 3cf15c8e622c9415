#include "oxa/oxa_memory_manager.h"
#include "support/error_of.h"
#include "support/live_bus.h"
#include "zunic_hosting/channel_format.h"
#include "zunic_hosting/hosted_channel.h"

#include <cerrno>
#include <gmock/gmock.h>

using namespace ZunicHosting;
using testing::Each;
using testing::ElementsAre;
using TestSupport::errorOf;

namespace {

class Hosting : public testing::Test
{
protected:
    HostedChannel mHost = HostedChannel::create(
        {.name = TestSupport::uniqueChannelName(), .messageSlots = 8, .memoryManagers = {{64, 2, 3, 6}}});
    LockedRegistry mLock = mHost.lock();
    const ZunicFormat::Registry& mRegistry = *reinterpret_cast<const ZunicFormat::Registry*>(mHost.registry());

    /// Size, initial, additional, total and used blocks of the memory manager.
    std::array<std::uint64_t, 5> blocks() const
    {
        const auto& superblock = *reinterpret_cast<const ZunicFormat::Superblock*>(mHost.bytes().data());
        auto& manager =
            *reinterpret_cast<ZunicFormat::MemoryManagerEntry*>(&mHost.bytes()[superblock.memoryManagers.offset]);
        std::array<std::uint64_t, 5> status{};
        auto& [size, initial, additional, total, used] = status;
        EXPECT_EQ(oxa_memory_manager_get_memory_block_status(&manager.record.manager, &size, &initial, &additional,
                                                             &total, &used),
                  0);
        return status;
    }
};

} // namespace

TEST_F(Hosting, countsTheBlocksOfItsMemoryManagers)
{
    std::vector<oxa_zunic_range_location> taken;
    for (const std::uint64_t total : {2U, 2U, 5U, 5U, 5U, 6U}) {
        taken.push_back(mLock.allocateBlock(0));
        EXPECT_THAT(blocks(), ElementsAre(64, 2, 3, total, taken.size()));
    }
    EXPECT_EQ(errorOf([&] { mLock.allocateBlock(0); }), ENOSPC);
    mLock.freeBlock(taken[3]);
    EXPECT_THAT(blocks(), ElementsAre(64, 2, 3, 6, 5));
    for (const auto& unused : {taken[3], oxa_zunic_range_location{0, 6}, cNoLocation}) {
        EXPECT_EQ(errorOf([&] { mLock.freeBlock(unused); }), ENOENT) << unused.range_index;
    }
    EXPECT_EQ(mLock.allocateBlock(0).range_index, taken[3].range_index);
}

TEST_F(Hosting, takesBackWhateverAnInterfaceHad)
{
    for (const char* const name : {"a", "b", "c"}) {
        mLock.registerInterface({.interfaceName = name, .functions = mLock.publishFunctions({"x"})});
    }
    mLock.connect(0, 1);
    mLock.unregisterInterface(1);
    EXPECT_EQ(mRegistry.interfaces[1].state, 2U) << "still there to see";
    EXPECT_THAT(mRegistry.interfaces[0].receivers, Each(0));
    EXPECT_THAT(blocks(), ElementsAre(64, 2, 3, 5, 2));
    EXPECT_EQ(errorOf([&] { mLock.unregisterInterface(1); }), ENOENT);
    EXPECT_EQ(errorOf([&] { mLock.connect(1, 0); }), ENOENT);
    EXPECT_EQ(mLock.registerInterface({}), 1) << "the lowest unused id";
}

TEST_F(Hosting, registersNoIdTwiceAndNoNameThatDoesNotFit)
{
    EXPECT_EQ(mLock.registerCommunicator(7, 3), 3);
    EXPECT_EQ(errorOf([&] { mLock.registerCommunicator(8, 3); }), EEXIST);
    EXPECT_EQ(mLock.registerInterface({.interfaceName = "a", .id = 3}), 3);
    EXPECT_EQ(errorOf([&] { mLock.registerInterface({.interfaceName = "b", .id = 3}); }), EEXIST);
    EXPECT_EQ(errorOf([&] { mLock.registerInterface({.interfaceName = std::string(256, 'n')}); }), -1);
    const std::uint16_t longest = mLock.registerInterface({.interfaceName = std::string(255, 'n')});
    EXPECT_EQ(std::string(mRegistry.interfaces[1].interfaceName), std::string(255, 'n'));
    mLock.connect(3, longest);
    mLock.unregisterInterface(longest);
    // A process that died meanwhile has left a link to it.
    auto& registry = const_cast<ZunicFormat::Registry&>(mRegistry);
    registry.interfaces[0].receivers[longest / 64] |= 1ULL << (longest % 64);
    EXPECT_EQ(mLock.registerInterface({}), longest);
    EXPECT_THAT(mRegistry.interfaces[0].receivers, Each(0));
}

TEST_F(Hosting, fillsABlockToItsEnd)
{
    constexpr std::size_t cRoom = 64 - sizeof(ZunicFormat::FunctionStorageHeader) - sizeof(ZunicFormat::FunctionRecord);
    EXPECT_EQ(mLock.publishFunctions({std::string(cRoom, 'f')}).range_index, 0);
    EXPECT_NE(errorOf([&] { mLock.publishFunctions({std::string(cRoom + 1, 'f')}); }), 0);
}

TEST(MemoryManagerRecord, hasNoMoreBlocksThanItMayGrowTo)
{
    oxa_memory_manager_record record;
    EXPECT_EQ(oxa_memory_manager_initialize(&record, 8, 4, 0, 4), 0);
    EXPECT_EQ(oxa_memory_manager_initialize(&record, 8, 5, 0, 4), EINVAL);
    EXPECT_EQ(oxa_memory_manager_initialize(&record, 0, 4, 0, 4), EINVAL);
    EXPECT_EQ(oxa_memory_manager_initialize(nullptr, 8, 4, 0, 4), EINVAL);
}
