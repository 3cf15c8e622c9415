#include "inspect/saved/state_json.h"
#include "support/change_model.h"
#include "support/inspect.h"

#include <gmock/gmock.h>
#include <random>

using namespace Inspect;
using TestSupport::changesBetween;
using TestSupport::expectWhole;
using TestSupport::linesOf;

namespace {

/// A bus of few names, so that many interfaces have the same, on which anything may happen.
class RandomBus
{
public:
    explicit RandomBus(unsigned seed) : mRandom(seed)
    {
        for (int i = 0; i < 5; ++i) {
            addCommunicator();
        }
        for (int i = 0; i < 40; ++i) {
            edit();
        }
    }

    const BusState& state() const { return mState; }

    void edit()
    {
        const std::size_t what = below(10);
        if (what < 2 || mState.mInterfaces.empty()) {
            mState.mInterfaces.push_back(anyInterface());
        } else if (Interface& interface = mState.mInterfaces[below(mState.mInterfaces.size())]; what == 2) {
            mState.mInterfaces.erase(mState.mInterfaces.begin() + (&interface - mState.mInterfaces.data()));
        } else if (what == 3) {
            interface = {interface.mId,
                         interface.mName,
                         interface.mRole,
                         interface.mDomain,
                         interface.mType,
                         anyInterface().mVersion,
                         anyCommunicatorId(),
                         anyInterface().mState,
                         {},
                         anyInterface().mFunctions,
                         false,
                         interface.mReceivers};
        } else if (what < 7) {
            toggle(interface.mReceivers,
                   below(9) == 0 ? 60'000 + below(2) : mState.mInterfaces[below(mState.mInterfaces.size())].mId);
        } else if (what == 7) {
            restart(mState.mCommunicators[below(mState.mCommunicators.size())].mProcessId);
        } else if (what == 8) {
            kill(mState.mCommunicators[below(mState.mCommunicators.size())].mProcessId);
        } else if (mState.mCommunicators.size() < 4 || below(2) == 0) {
            addCommunicator();
        } else {
            mState.mCommunicators.erase(mState.mCommunicators.begin() +
                                        static_cast<long>(below(mState.mCommunicators.size())));
        }
        std::ranges::sort(mState.mInterfaces, {}, &Interface::mId);
    }

    void restartAll()
    {
        for (const Communicator& communicator : BusState(mState).mCommunicators) {
            restart(communicator.mProcessId);
        }
        std::ranges::sort(mState.mInterfaces, {}, &Interface::mId);
    }

private:
    std::size_t below(std::size_t end) { return mRandom() % end; }
    std::string any(const std::string& letters) { return letters.substr(below(letters.size()), 1); }

    /// In no order, and none that a receiver set may still name.
    std::uint16_t unusedId()
    {
        for (;;) {
            if (const auto id = static_cast<std::uint16_t>(below(10'000)); mUsedIds.insert(id).second) {
                return id;
            }
        }
    }

    std::uint16_t anyCommunicatorId()
    {
        return below(6) == 0 ? Channel::cNoCommunicator
                             : mState.mCommunicators[below(mState.mCommunicators.size())].mId;
    }

    Interface anyInterface()
    {
        return {unusedId(),
                any("xy"),
                any("rs"),
                "local",
                static_cast<std::uint32_t>(1 + below(2)),
                {1, static_cast<std::uint32_t>(below(3)), 0},
                anyCommunicatorId(),
                below(3) == 0 ? 3U : 1U,
                {},
                FunctionNames{any("fg"), any("fg")},
                false,
                {}};
    }

    void addCommunicator()
    {
        const bool isOfNewProcess = mState.mCommunicators.empty() || below(2) == 0;
        Communicator communicator{mNextCommunicatorId++, mNextProcessId, 1, {any("abc"), {}, Living::eYes}};
        if (isOfNewProcess) {
            ++mNextProcessId;
        } else {
            const Communicator& other = mState.mCommunicators[below(mState.mCommunicators.size())];
            communicator.mProcessId = other.mProcessId;
            communicator.mProcess = other.mProcess;
        }
        mState.mCommunicators.push_back(communicator);
    }

    static void toggle(IdSet& ids, std::size_t id)
    {
        std::set<std::uint16_t> toggled(ids.begin(), ids.end());
        if (const auto [place, isNew] = toggled.insert(static_cast<std::uint16_t>(id)); !isNew) {
            toggled.erase(place);
        }
        ids = IdSet(toggled.begin(), toggled.end());
    }

    void kill(std::uint32_t processId)
    {
        for (Communicator& communicator : mState.mCommunicators) {
            if (communicator.mProcessId == processId) {
                communicator.mProcess.mLiving = Living::eNo;
            }
        }
    }

    /// Everything of the process has another id afterwards.
    void restart(std::uint32_t processId)
    {
        for (Communicator& communicator : mState.mCommunicators) {
            if (communicator.mProcessId == processId) {
                const std::uint16_t old = std::exchange(communicator.mId, mNextCommunicatorId++);
                communicator.mProcessId = mNextProcessId;
                communicator.mProcess.mLiving = Living::eYes;
                for (Interface& interface : mState.mInterfaces) {
                    if (interface.mCommunicatorId == old) {
                        interface.mCommunicatorId = communicator.mId;
                        giveId(interface, unusedId());
                    }
                }
            }
        }
        ++mNextProcessId;
    }

    void giveId(Interface& interface, std::uint16_t id)
    {
        for (Interface& holder : mState.mInterfaces) {
            if (std::ranges::find(holder.mReceivers, interface.mId) != holder.mReceivers.end()) {
                toggle(holder.mReceivers, interface.mId);
                toggle(holder.mReceivers, id);
            }
        }
        interface.mId = id;
    }

    std::mt19937 mRandom;
    BusState mState;
    std::set<std::uint16_t> mUsedIds;
    std::uint16_t mNextCommunicatorId = 1;
    std::uint32_t mNextProcessId = 100;
};

TEST(Diff, TellsAllThatHappensOnABusAndInventsNothing)
{
    for (unsigned seed = 0; seed < 60 && !testing::Test::HasFailure(); ++seed) {
        RandomBus bus(seed);
        for (int edits = 0; edits < 20; ++edits) {
            const BusState before = bus.state();
            for (int i = 0; i < edits; ++i) {
                bus.edit();
            }
            expectWhole(before, bus.state(), changesBetween(before, bus.state()));
            EXPECT_TRUE(changesBetween(before, before).empty());
        }
        const BusState before = bus.state();
        bus.restartAll();
        for (const Change& change : changesBetween(before, bus.state())) {
            EXPECT_EQ(change.mSign, Sign::eRestarted) << lineOf(change);
        }
    }
}

TEST(Diff, WordsWhatANeighbourMayWriteSafelyAndKnowsADeadProcessByWhatItHad)
{
    BusState before;
    before.mCommunicators = {{1, 12, 1, {{}, {}, Living::eNo}}, {2, 13, 1, {"b d", {}, Living::eYes}}};
    before.mInterfaces = {{5, "Clo\nck", "", "-", 2, {1, 0, 0}, 1, 1, {}, {{"f", "g"}}, false, {7, 900}},
                          {7, "Z\xFF", "r", "l", 1, {}, 2, 1, {}, FunctionNames(), false, {}}};
    before.mMemoryManagers = {{64, 1, 1, 8, 3}};
    BusState now = before;
    now.mCommunicators[0] = {9, 99, 1, {"clockd", {}, Living::eYes}};
    now.mInterfaces[0].mCommunicatorId = 9;
    now.mInterfaces[0].mVersion = {1, 1, 0};
    now.mInterfaces[0].mFunctions = {"f", "\x1b[2J"};
    now.mInterfaces[0].mReceivers = {900};
    now.mMemoryManagers[0].mUsedBlocks = 4;
    now.mMessages.mTotals[Channel::eSlotStateFree] = 1;
    const std::vector<Change> changes = changesBetween(before, now);
    EXPECT_EQ(linesOf(changes),
              "~ process clockd (99): restarted, pid 12 -> 99\n"
              "~ interface Clo\\x0ack - \\x2d skeleton of clockd (99): version 1.0.0 -> 1.1.0\n"
              "~ interface Clo\\x0ack - \\x2d skeleton of clockd (99): functions 2 -> 2 -g +\\x1b[2J\n"
              "- link Clo\\x0ack - \\x2d skeleton of pid 12 -> Z\\xff r l stub of b\\x20d (13)\n"
              "~ memory 0: used blocks 3 -> 4\n"
              "~ messages: free 0 -> 1\n");
    EXPECT_EQ(changesBetween(before, now, Traffic::eLeftOut).size(), 4U);
    for (const Change& change : changes) {
        EXPECT_NO_THROW(toJson(change).dump());
    }
}

TEST(Diff, PrintsAHundredLinesOfEachKindUnlessAllIsAskedFor)
{
    const TestSupport::TemporaryDirectory directory;
    const auto save = [&](const BusState& state, const std::string& name) {
        std::ostringstream text;
        writeState(text, state);
        TestSupport::writeFile(directory / name, text.str());
        return directory / name;
    };
    BusState state;
    state.mMemoryManagers = {{64, 1, 1, 8, 3}};
    const std::string before = save(state, "before.json");
    for (std::uint16_t id = 0; id < 123; ++id) {
        state.mInterfaces.emplace_back().mId = id;
    }
    state.mMemoryManagers[0].mUsedBlocks = 4;
    const std::string now = save(state, "now.json");
    const auto diff = [&](std::vector<std::string> words) {
        words.insert(words.begin(), {"diff", before, now});
        const TestSupport::ProgramResult result = TestSupport::inspect(words);
        EXPECT_EQ(result.status, TestSupport::eNo) << result.errors;
        return result.output;
    };
    const auto linesIn = [](const std::string& text) { return std::ranges::count(text, '\n'); };
    const std::string end = "~ memory 0: used blocks 3 -> 4\n";
    EXPECT_THAT(diff({}), testing::EndsWith(end + "# and 23 more of interface (--all prints them)\n"));
    EXPECT_EQ(linesIn(diff({})), 102);
    EXPECT_THAT(diff({"--color", "always"}), testing::EndsWith("\n# and 23 more of interface (--all prints them)\n"));
    EXPECT_THAT(diff({"--all"}), testing::EndsWith(end));
    EXPECT_EQ(linesIn(diff({"--all"})), 124);
    EXPECT_EQ(Json::parse(diff({"--json"}))["changes"].size(), 124U);
}

} // namespace
