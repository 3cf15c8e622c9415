#include "inspect/bus/message_filter.h"
#include "inspect/view/holders.h"

#include "support/healthy_bus.h"

#include <gmock/gmock.h>

using namespace TestSupport;
using testing::Each;
using testing::ElementsAre;

namespace {

using Location = OxaZunic::OxaZunicRangeLocation;

Slot message(std::uint32_t index, std::uint16_t counter, IdSet receivers)
{
    Slot made;
    made.mIndex = index;
    made.mState = Channel::eSlotStateMessage;
    made.mSenderId = 1;
    made.mWriterCounter = counter;
    made.mReceivers = std::move(receivers);
    return made;
}

Slot withData(std::uint32_t index, std::uint16_t sender, Location location)
{
    Slot made = message(index, 0, {});
    made.mSenderId = sender;
    made.mExternal = location;
    return made;
}

/// Without references to blocks, and with three memory managers: 4 of 40, 2 of 2 and 0 of 10 blocks are used.
BusState unheld()
{
    BusState state = healthy();
    for (Interface& each : state.mInterfaces) {
        each.mFunctions.reset();
    }
    state.mMemoryManagers = {{64, 40, 0, 40, 4}, {128, 2, 0, 2, 2}, {256, 10, 0, 10, 0}};
    state.mMessages.mSlots.clear();
    return state;
}

std::vector<std::string> textsOf(const BusState& state)
{
    std::vector<std::string> texts;
    for (const BlockHolders& holders : blockHolders(state)) {
        texts.push_back(holdersText(holders));
    }
    return texts;
}

constexpr auto cNone = "functions 0, messages 0, unknown 0";

TEST(BlockHolders, CountEachBlockOnceHoweverOftenItIsReferredTo)
{
    BusState state = unheld();
    state.mInterfaces[0].mFunctions = {"now"};
    state.mInterfaces[1].mFunctions = {"now"};
    state.mInterfaces[0].mFunctionStorage = state.mInterfaces[1].mFunctionStorage = {0, 7};
    state.mMessages.mSlots = {withData(3, 8, {0, 9}), withData(4, 8, {0, 9}), withData(5, 2, {0, 7}),
                              withData(6, 9, {0, 39})};
    EXPECT_THAT(textsOf(state), ElementsAre("functions 1, messages 2 (1 from sender 8), unknown 1",
                                            "functions 0, messages 0, unknown 2", cNone));
    std::vector<std::uint16_t> ranges;
    const std::vector<BlockHolders> holders = blockHolders(state);
    for (const BlockReference& reference : holders[0].mReferences) {
        ranges.push_back(reference.mRange);
    }
    EXPECT_THAT(ranges, ElementsAre(7, 7, 7, 9, 9, 39));
}

TEST(BlockHolders, OfMoreBlocksThanAreUsedLeaveNoneUnknown)
{
    BusState state = unheld();
    state.mMessages.mSlots = {withData(1, 2, {2, 0}), withData(2, 2, {2, 1}), withData(3, 3, {1, 0})};
    EXPECT_THAT(textsOf(state), ElementsAre("functions 0, messages 0, unknown 4",
                                            "functions 0, messages 1 (1 from sender 3), unknown 1",
                                            "functions 0, messages 2 (2 from sender 2), unknown 0"));
}

TEST(BlockHolders, AreOnlyThoseThatNameABlockAndWereReadable)
{
    BusState state = unheld();
    state.mInterfaces[0].mFunctionStorage = {0, 0}; // Not readable.
    state.mInterfaces[1].mFunctionStorage = {0, 1};
    state.mInterfaces[1].mFunctions.emplace(); // No storage is there, or an empty one.
    state.mInterfaces.push_back(state.mInterfaces[0]);
    state.mInterfaces[2].mFunctionStorage = {0, 2};
    state.mInterfaces[2].mFunctionsCut = true; // Read, but too many to keep.
    state.mMessages.mSlots = {withData(1, 2, {0, 40}), withData(2, 2, {3, 0}), withData(3, 2, {65535, 65535})};
    EXPECT_EQ(textsOf(state)[0], "functions 1, messages 0, unknown 3");
    state.mMemoryManagers.clear();
    EXPECT_TRUE(textsOf(state).empty());
}

TEST(Backlog, CountsFromTheOldestMessageAcrossAWrapOfTheCounter)
{
    BusState state = healthy();
    state.mMessages.mWriterCounter = 5;
    state.mMessages.mSlots = {message(1, 3, {2}), message(2, 65530, {2, 900}), message(3, 5, {1, 2})};
    const BusIndex index(state);
    EXPECT_EQ(index.backlogOf(2), (Backlog{3, 11}));
    EXPECT_EQ(index.backlogOf(900), (Backlog{1, 11}));
    EXPECT_EQ(index.backlogOf(1), (Backlog{1, 0}));
    EXPECT_EQ(index.backlogOf(65535), Backlog());
    EXPECT_EQ(index.backlogOf(index.processes()[0]), (Backlog{3, 11})) << "slot 3 addresses two of its interfaces";
}

TEST(Backlog, IsOfMessagesToBeReadOnly)
{
    BusState state = healthy();
    state.mMessages.mSlots.clear();
    for (const auto slotState : {Channel::eSlotStateReserved, Channel::eSlotStateWritten, Channel::eSlotStateData}) {
        state.mMessages.mSlots.push_back(message(slotState, 1, {1, 2}));
        state.mMessages.mSlots.back().mState = slotState;
    }
    const BusIndex index(state);
    EXPECT_THAT(backlogs(state.mMessages, 1, [](std::uint16_t /*any*/) { return 0U; }).mInterfaces, Each(Backlog()));
    EXPECT_EQ(index.backlogOf(index.processes()[0]), Backlog());
}

TEST(Backlog, OfAnIdThatTwoProcessesHaveBelongsToTheFirst)
{
    BusState state = healthy();
    state.mCommunicators.push_back({8, 200, 1, {}});
    state.mInterfaces.push_back(state.mInterfaces[1]);
    state.mInterfaces[2].mCommunicatorId = 8;
    const BusIndex index(state);
    EXPECT_EQ(index.backlogOf(index.processes()[0]).mMessages, 1U);
    EXPECT_EQ(index.backlogOf(index.processes()[1]).mMessages, 0U);
}

TEST(MessageFilter, TakesNamesOfAllInterfacesAndIdsOfNone)
{
    const BusState state = healthyBut([](BusState& made) { made.mInterfaces[1].mName = "900"; });
    const auto fits = [&](const MessageWords& words, const Slot& slot) {
        return MessageFilter(words, state).fits(slot);
    };
    const MessageWords to900{.mReceiver = "900", .mSender = {}};
    EXPECT_TRUE(fits(to900, message(1, 1, {2}))) << "by name";
    EXPECT_TRUE(fits(to900, message(1, 1, {7, 900}))) << "by id";
    EXPECT_FALSE(fits(to900, message(1, 1, {7})));
    EXPECT_TRUE(fits({.mReceiver = {}, .mSender = "Clock"}, message(1, 1, {})));
    EXPECT_FALSE(fits({.mReceiver = {}, .mSender = "2"}, message(1, 1, {2})));
    EXPECT_FALSE(fits({.mReceiver = "Teapot", .mSender = "Clock"}, message(1, 1, {2})));
    EXPECT_TRUE(fits({}, message(1, 1, {})));
}

} // namespace
