#include "oxa/oxa_memory_manager.h"
#include "support/error_of.h"
#include "support/live_bus.h"
#include "zunic_hosting/channel_format.h"
#include "zunic_hosting/hosted_channel.h"

#include <algorithm>
#include <cerrno>
#include <functional>
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
    const std::span<const ZunicFormat::MessageSlot> mSlots{
        reinterpret_cast<const ZunicFormat::MessageSlot*>(mHost.messages()), mHost.messageSlots()};

    std::vector<unsigned> slotStates() const
    {
        std::vector<unsigned> states;
        for (const ZunicFormat::MessageSlot& slot : mSlots) {
            states.push_back(slot.stateAndSender & ZunicFormat::cSlotStateMask);
        }
        return states;
    }

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

TEST_F(Hosting, takesWhatJustFitsItsField)
{
    const std::string longest(255, '\xFF');
    EXPECT_EQ(mLock.registerCommunicator(4294967295U, 4095), 4095);
    EXPECT_EQ(mLock.registerInterface({.interfaceName = longest, .id = 1023}), 1023);
    for (const unsigned receiver : {0U, 64U, 1023U}) {
        mLock.connect(1023, static_cast<std::uint16_t>(receiver));
    }
    EXPECT_EQ(mRegistry.interfaces[0].interfaceName, longest);
    const auto& receivers = mRegistry.interfaces[0].receivers;
    EXPECT_THAT((std::array{receivers[0], receivers[1], receivers[15]}), ElementsAre(1, 1, std::uint64_t{1} << 63));
}

TEST_F(Hosting, postsAndReleasesMessagesWithTheirChains)
{
    const SlotDescription message{SlotState::message, 5};
    mLock.writeSlot(1, {SlotState::reserved, 9});
    EXPECT_EQ(mLock.postMessage(message, 3), 0U);
    EXPECT_THAT(slotStates(), ElementsAre(3, 1, 4, 4, 4, 0, 0, 0));
    EXPECT_EQ(errorOf([&] { mLock.postMessage(message, 3); }), ENOSPC);
    EXPECT_EQ(mLock.postMessage(message, 0), 5U);
    EXPECT_EQ(errorOf([&] { mLock.releaseMessage(2); }), ENOENT) << "data";
    mLock.releaseMessage(0);
    EXPECT_THAT(slotStates(), ElementsAre(0, 1, 0, 0, 0, 3, 0, 0));
}

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

TEST_F(Hosting, changesNothingForWhatFitsNoField)
{
    mLock.registerInterface({});
    mLock.registerCommunicator(1, 7);
    const SlotDescription largeSender{SlotState::free, 4096};
    const SlotDescription largeReceiver{SlotState::free, 0, 0, 0, {1024}};
    const std::pair<int, std::function<void()>> cases[] = {
        {-1, [&] { mLock.registerInterface({std::string(256, 'x')}); }},
        {-1, [&] { mLock.registerInterface({std::string("a\0b", 3)}); }},
        {-1, [&] { mLock.registerInterface({.id = 1024}); }},
        {EEXIST, [&] { mLock.registerInterface({.id = 0}); }},
        {-1, [&] { mLock.connect(0, 1024); }},
        {-1, [&] { mLock.registerCommunicator(1, 4096); }},
        {EEXIST, [&] { mLock.registerCommunicator(1, 7); }},
        {-1, [&] { mLock.writeSlot(0, largeSender); }},
        {-1, [&] { mLock.writeSlot(0, largeReceiver); }},
        {ENOSPC, [&] { mLock.publishFunctions({std::string(5000, 'x')}); }},
    };
    const std::vector<std::byte> before(mHost.bytes().begin(), mHost.bytes().end());
    for (const auto& [error, operation] : cases) {
        EXPECT_EQ(errorOf(operation), error) << "case " << &error - &cases[0].first;
    }
    EXPECT_TRUE(std::ranges::equal(mHost.bytes(), before));
}
