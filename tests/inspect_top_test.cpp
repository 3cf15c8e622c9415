#include "inspect/bus/message_rate.h"
#include "inspect/commands/top/table_view.h"
#include "inspect/commands/top/text_fit.h"

#include <clocale>
#include <gmock/gmock.h>

using namespace Inspect;
using namespace std::chrono_literals;
using testing::ElementsAre;

namespace {

struct Named
{
    std::uint16_t mId;
    std::string mName;
    std::uint32_t mState = oxa_zunic_registration_state_registered;
};

BusState busOf(const std::vector<Named>& interfaces)
{
    BusState state;
    for (const auto& [id, name, registration] : interfaces) {
        Interface& interface = state.mInterfaces.emplace_back();
        interface.mId = id;
        interface.mName = name;
        interface.mState = registration;
    }
    return state;
}

/// The names in sight, "*" in front of the chosen one, "!" behind what is marked.
std::vector<std::string> shown(const TableView& view)
{
    std::vector<std::string> names;
    for (const TableView::Line& line : view.lines(0, 10)) {
        const bool isMarked = std::ranges::any_of(line.mCells, &TableView::ShownCell::mHasChanged);
        names.push_back((line.mIsChosen ? "*" : "") + line.mCells[1].mText + (isMarked ? "!" : ""));
    }
    return names;
}

TEST(Top, RateOfMessagesGoesOnWhenTheCounterWraps)
{
    EXPECT_EQ(messageRate(10, 30, 500ms), (Rate{40, false}));
    EXPECT_EQ(messageRate(65'530, 14, 1s), (Rate{20, false}));
    // It may have wrapped twice: in a long time, or as it is that fast.
    EXPECT_EQ(messageRate(0, 20, 2s), (Rate{10, true}));
    EXPECT_EQ(messageRate(0, 40'000, 1s), (Rate{40'000, true}));
    EXPECT_EQ(messageRate(0, 1, 0s), Rate{});
}

TEST(Top, ProcessesAreCountedOnceHoweverManyCommunicatorsTheyHave)
{
    BusState state = busOf({{1, "a"}, {2, "b"}});
    state.mInterfaces[0].mReceivers = {2, 3};
    const Process dead{.mApplication = {}, .mStartedAfterBoot = {}, .mLiving = Living::eNo};
    state.mCommunicators = {{1, 70, 1, dead}, {2, 70, 1, dead}, {3, 80, 1, {}}};
    EXPECT_EQ(BusIndex(state).totals(), (BusTotals{2, 3, 2, 1, 2}));
}

TEST(Top, ChosenLineStaysChosenWhereverItGoes)
{
    TableView view(cInterfaceList);
    view.move(1);
    EXPECT_EQ(view.chosen(), std::nullopt);
    const BusState first = busOf({{1, "b"}, {3, "a"}, {20, "C"}});
    view.show(first, nullptr);
    EXPECT_THAT(shown(view), ElementsAre("*b", "a", "C"));
    view.move(1);
    view.sortBy(1);
    EXPECT_THAT(shown(view), ElementsAre("C", "*a", "b"));
    view.reverse();
    view.filterBy("A");
    EXPECT_THAT(shown(view), ElementsAre("*a"));
    view.filterBy("");
    view.sortBy(0);
    EXPECT_THAT(shown(view), ElementsAre("C", "*a", "b"));

    // When it has gone, the one in its place is chosen.
    const BusState second = busOf({{1, "b"}, {20, "C"}, {21, "d"}});
    view.show(second, &first);
    EXPECT_THAT(shown(view), ElementsAre("d!", "*C", "b"));
    view.filterBy("nowhere");
    EXPECT_EQ(view.chosen(), std::nullopt);
    view.filterBy("");
    view.move(99);
    EXPECT_THAT(shown(view), ElementsAre("d!", "C", "*b"));
}

TEST(Top, MarksTellWhatChangedSinceTheLookBeforeEvenAmongSameIds)
{
    const BusState before = busOf({{1, "a"}, {1, "b"}, {2, "c"}});
    const BusState now = busOf({{0, "new"}, {1, "a"}, {1, "B"}, {2, "c", oxa_zunic_registration_state_preregistered}});
    TableView view(cInterfaceList);
    view.show(before, nullptr);
    view.move(1);
    view.show(now, &before);
    EXPECT_THAT(shown(view), ElementsAre("new!", "a", "*B!", "c!"));
    view.show(now, &now);
    EXPECT_THAT(shown(view), ElementsAre("new", "a", "*B", "c"));
}

TEST(Top, NumbersAreSortedAsNumbersAndHostileNamesAreOneCell)
{
    BusState state;
    state.mMemoryManagers = {{.mTotalBlocks = 10, .mUsedBlocks = 9}, {}, {.mTotalBlocks = 100, .mUsedBlocks = 100}};
    TableView memory(cMemoryList);
    memory.show(state, nullptr);
    memory.sortBy(memory.columns().size() - 1);
    std::vector<std::string> shares;
    for (const TableView::Line& line : memory.lines(0, 3)) {
        shares.push_back(line.mCells.back().mText);
    }
    EXPECT_THAT(shares, ElementsAre("-", "90%", "100%"));

    const BusState hostile = busOf({{1, "\x1b[2J \n"}});
    TableView view(cInterfaceList);
    view.show(hostile, nullptr);
    EXPECT_THAT(shown(view), ElementsAre("*\\x1b[2J\\x20\\x0a"));
}

TEST(Top, WideCharactersTakeTheirWidth)
{
    ASSERT_NE(std::setlocale(LC_CTYPE, "C.UTF-8"), nullptr);
    EXPECT_EQ(shownWidth("a界b"), 4U);
    EXPECT_EQ(fitted("界界", 3), "界 ");
    EXPECT_EQ(fitted("界", 4, true), "  界");
    EXPECT_THAT(brokenInto("a界界", 3), ElementsAre("a界", "界"));
    EXPECT_THAT(brokenInto("", 3), ElementsAre(""));
    std::setlocale(LC_CTYPE, "C");
}

} // namespace
