#include "inspect/live/bus_follower.h"
#include "inspect/live/state_parts.h"
#include "inspect/live/take_state.h"
#include "support/change_model.h"
#include "support/churning_bus.h"
#include "support/live_bus.h"
#include "support/program.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <list>
#include <sys/resource.h>

using namespace Inspect;
using TestSupport::changesBetween;
using TestSupport::expectWhole;
using TestSupport::Model;

namespace {

constexpr Wanted cFollowed{.mFunctions = true, .mProcesses = true, .mMemoryManagers = true};

TEST(Follower, LosesNothingOfAChurningBusAndSeesProcessesEnd)
{
    TestSupport::ChurningBus bus(3);
    BusFollower follower(bus.name(), BusFollower::Past::eRemembered);
    follower.look(cFollowed);
    ASSERT_NE(follower.now(), nullptr);
    std::optional<TestSupport::ForkedChild> victim;
    for (int looks = 0; looks < 200; ++looks) {
        const BusState last = *follower.now();
        if (looks % 40 == 10) {
            victim.emplace(bus.startVictim());
        } else if (looks % 40 == 30) {
            victim.reset();
        }
        follower.look(cFollowed);
        ASSERT_TRUE(*follower.before() == last);
        expectWhole(last, *follower.now(), changesBetween(last, *follower.now(), Traffic::eLeftOut));
    }
    bus.end();
    follower.look(cFollowed);
    EXPECT_EQ(Model(*follower.now()).facts(), Model(takeState(bus.name(), Wanted::everything())).facts());
    const auto isLiving = [](const Communicator& it) { return it.mProcess.mLiving != Living::eNo; };
    EXPECT_TRUE(std::ranges::none_of(follower.now()->mCommunicators, isLiving));
    EXPECT_TRUE(follower.now()->mCommunicators.front().mProcess.mApplication) << "it was known while it lived";
}

TEST(Follower, HasNothingToShowOfAChannelThatIsGoneAndANewStateWhenItIsBack)
{
    const std::string name = TestSupport::uniqueChannelName();
    for (const auto past : {BusFollower::Past::eForgotten, BusFollower::Past::eRemembered}) {
        BusFollower follower(name, past);
        follower.look(cFollowed);
        EXPECT_EQ(follower.now(), nullptr);
        EXPECT_TRUE(follower.trouble() && follower.trouble()->isMissing());
        std::shared_ptr<const BusState> last;
        for (int times = 0; times < 2; ++times) {
            std::optional channel = ZunicHosting::HostedChannel::create({.name = name});
            follower.look(cFollowed);
            ASSERT_NE(follower.now(), nullptr);
            EXPECT_NE(follower.now(), last);
            EXPECT_EQ(follower.before(), nullptr);
            EXPECT_FALSE(follower.trouble());
            last = follower.now();
            follower.look(cFollowed);
            EXPECT_EQ(follower.before(), last);
            EXPECT_EQ(follower.now() == last, past == BusFollower::Past::eRemembered) << "nothing has changed";
            channel.reset();
            follower.look(cFollowed);
            EXPECT_EQ(follower.now(), nullptr);
        }
    }
}

TEST(Follower, SeesAPoolThatGrowsAndNotWhatIsUsedOfIt)
{
    auto channel = ZunicHosting::HostedChannel::create(
        {.name = TestSupport::uniqueChannelName(),
         .memoryManagers = {{.blockSize = 64, .initialBlocks = 2, .additionalBlocks = 3, .maximumBlocks = 5}}});
    BusFollower follower(channel.name(), BusFollower::Past::eRemembered);
    follower.look(cFollowed);
    const auto first = follower.now();
    ASSERT_NE(first, nullptr);
    for (const std::uint32_t blocks : {2U, 2U, 5U}) {
        channel.lock().allocateBlock(0);
        follower.look(cFollowed);
        EXPECT_EQ(follower.now() == first, blocks == 2);
        EXPECT_EQ(follower.now()->mMemoryManagers.at(0).mTotalBlocks, blocks);
    }
}

std::size_t countLiving(const BusState& state)
{
    return static_cast<std::size_t>(std::ranges::count(state.mCommunicators, Living::eYes,
                                                       [](const Communicator& one) { return one.mProcess.mLiving; }));
}

/// In a process that may open `descriptors` files: 0, or the step that failed.
int followProcesses(ZunicHosting::HostedChannel& channel, rlim_t descriptors, std::size_t processes)
{
    std::list<TestSupport::ForkedChild> all;
    for (std::size_t i = 0; i < processes; ++i) {
        all.emplace_back([] { return pause(); });
        channel.lock().registerCommunicator(static_cast<std::uint32_t>(all.back().processId()));
    }
    const rlimit few{descriptors, descriptors};
    if (setrlimit(RLIMIT_NOFILE, &few) != 0) {
        return 1;
    }
    BusFollower follower(channel.name(), BusFollower::Past::eRemembered);
    follower.look(cFollowed);
    if (follower.now() == nullptr || countLiving(*follower.now()) != processes) {
        return 2;
    }
    for (int left = 24; left > 0; --left) {
        if (open("/dev/null", O_RDONLY | O_CLOEXEC) < 0) {
            return 3; // Nothing is left for others.
        }
    }
    for (const std::size_t left : {processes - 1, processes - 2}) { // With a descriptor, and without one.
        TestSupport::ForkedChild& ended = left == processes - 1 ? all.front() : all.back();
        ended.send(SIGKILL);
        ended.wait();
        follower.look(cFollowed);
        if (follower.now() == nullptr || countLiving(*follower.now()) != left) {
            return 4;
        }
    }
    return 0;
}

TEST(Follower, SeesMoreProcessesEndThanItMayHaveDescriptors)
{
    auto channel = ZunicHosting::HostedChannel::create({.name = TestSupport::uniqueChannelName()});
    TestSupport::ForkedChild follower([&] { return followProcesses(channel, 48, 40); });
    EXPECT_EQ(follower.wait(), 0);
}

TEST(Follower, KeepsFunctionsOfTheSameInterfaceOnly)
{
    BusState before;
    before.mCommunicators = {{7, 100, 1, {}}, {8, 100, 1, {}}};
    before.mInterfaces = {{1, "Clock", "Provider", "local", 2, {1, 0, 0}, 7, 1, {3, 4}, {{"now"}}, false, {}}};
    using Edit = void (*)(BusState&);
    const std::pair<Edit, bool> cases[] = {
        {[](BusState&) {}, true},
        {[](BusState& s) {
             s.mInterfaces[0].mVersion = {1, 0, 1};
         },
         true},
        {[](BusState& s) { s.mInterfaces[0].mState = 3; }, true},
        {[](BusState& s) { s.mInterfaces[0].mReceivers = {1}; }, true},
        {[](BusState& s) { s.mInterfaces[0].mId = 2; }, false},
        {[](BusState& s) { s.mInterfaces[0].mName = "Clocks"; }, false},
        {[](BusState& s) { s.mInterfaces[0].mRole = "Spare"; }, false},
        {[](BusState& s) { s.mInterfaces[0].mDomain = "cloud"; }, false},
        {[](BusState& s) { s.mInterfaces[0].mType = 1; }, false},
        {[](BusState& s) { s.mInterfaces[0].mCommunicatorId = 8; }, false},
        {[](BusState& s) {
             s.mInterfaces[0].mFunctionStorage = {2, 4};
         },
         false},
        {[](BusState& s) {
             s.mInterfaces[0].mFunctionStorage = {3, 5};
         },
         false},
        {[](BusState& s) { s.mCommunicators[0].mProcessId = 101; }, false},
        {[](BusState& s) { s.mCommunicators.clear(); }, false},
    };
    for (const auto& [edit, areKept] : cases) {
        BusState now = before;
        now.mInterfaces[0].mFunctions.reset();
        edit(now);
        keepFunctions(before, now);
        EXPECT_EQ(now.mInterfaces[0].mFunctions.has_value(), areKept) << &edit - &cases[0].first;
    }
}

TEST(BusState, HasNoReceiversOfASlotThatIsReserved)
{
    auto channel = ZunicHosting::HostedChannel::create({.name = TestSupport::uniqueChannelName()});
    using ZunicHosting::SlotState;
    const SlotState states[] = {SlotState::free, SlotState::reserved, SlotState::written, SlotState::message,
                                SlotState::data};
    for (std::uint32_t index = 0; const SlotState state : states) {
        channel.lock().writeSlot(index++, {.state = state, .senderId = 3, .writerCounter = 4, .receivers = {5, 6}});
    }
    std::vector<std::size_t> receivers;
    for (const Slot& slot : takeState(channel.name(), Wanted::everything()).mMessages.mSlots) {
        receivers.push_back(slot.mReceivers.size());
    }
    EXPECT_THAT(receivers, testing::ElementsAre(0, 2, 2, 0)); // What was there before, or is not filled in yet.
}

} // namespace
