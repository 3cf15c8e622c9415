#include "inspect/bus/words.h"
#include "inspect/changes/wording.h"
#include "inspect/live/bus_follower.h"
#include "inspect/live/take_state.h"
#include "support/churning_bus.h"
#include "support/live_bus.h"
#include "support/program.h"

#include <gmock/gmock.h>
#include <random>
#include <sstream>

using namespace Inspect;
using testing::ElementsAre;

namespace {

std::string inBrackets(std::uint32_t processId)
{
    return "<" + std::to_string(processId) + ">";
}

std::string ownerText(const Communicator* owner)
{
    return owner == nullptr ? "no process" : inBrackets(owner->mProcessId);
}

std::string identity(const Interface& interface)
{
    return interface.mName + "/" + interface.mRole + "/" + interface.mDomain + "/" + typeWord(interface.mType);
}

std::vector<Change> changesBetween(const BusState& before, const BusState& now, Traffic traffic = Traffic::eTold)
{
    std::vector<Change> changes;
    forEachChange(before, now, traffic, [&](const Change& change) { changes.push_back(change); });
    return changes;
}

std::string functionsText(const Interface& interface)
{
    Json names = Json::array();
    for (const std::string& name : interface.mFunctions.value_or(FunctionNames())) {
        names.push_back(nameToJson(name));
    }
    return names.dump();
}

/// What a state says, as sentences without ids. What a list of changes tells can be done to them: when it is whole, and
/// nothing in it is invented, those of the one state become those of the other.
class Model
{
public:
    explicit Model(const BusState& state)
    {
        std::map<std::uint16_t, const Communicator*> owners;
        std::map<std::uint32_t, std::map<std::uint32_t, int>> communicators;
        for (const Communicator& communicator : state.mCommunicators) {
            owners.try_emplace(communicator.mId, &communicator);
            ++communicators[communicator.mProcessId][communicator.mState];
            const std::string process = "process " + inBrackets(communicator.mProcessId);
            mFacts.erase(process + " dead");
            if (communicator.mProcess.mLiving == Living::eNo) {
                mFacts.insert(process + " dead");
            }
        }
        for (const auto& [process, counts] : communicators) {
            std::string text;
            for (const auto& [number, count] : counts) {
                text += (text.empty() ? "" : ", ") + std::to_string(count) + " " + stateWord(number);
            }
            mFacts.insert("process " + inBrackets(process) + " communicators " + text);
        }
        std::map<std::uint16_t, const Interface*> byId;
        for (const Interface& interface : state.mInterfaces) {
            byId.try_emplace(interface.mId, &interface);
            const auto owner = owners.find(interface.mCommunicatorId);
            for (const auto& fact : factsOf({&interface, owner == owners.end() ? nullptr : owner->second})) {
                mFacts.insert(fact);
            }
        }
        for (const Interface& holder : state.mInterfaces) {
            for (const std::uint16_t id : holder.mReceivers) {
                const auto receiver = byId.find(id);
                mFacts.insert(link(holder, receiver == byId.end() ? nullptr : receiver->second, id));
            }
        }
    }

    /// `now` tells what came with a new process.
    void apply(const std::vector<Change>& changes, const Model& now)
    {
        for (const Change& change : changes) {
            apply(change, now);
        }
    }

    const std::multiset<std::string>& facts() const { return mFacts; }

private:
    std::vector<std::string> factsOf(const Party& party) const
    {
        const Interface& interface = *party.mInterface;
        const std::string begin = "interface " + identity(interface);
        return {begin + " owner " + renamed(ownerText(party.mOwner)),
                begin + " version " + versionWord(interface.mVersion), begin + " state " + stateWord(interface.mState),
                begin + " functions " + functionsText(interface)};
    }

    static std::string link(const Interface& holder, const Interface* receiver, std::size_t id)
    {
        return "link " + identity(holder) + " to " + (receiver ? identity(*receiver) : std::to_string(id));
    }

    std::string renamed(const std::string& process) const
    {
        const auto found = mRenamed.find(process);
        return found == mRenamed.end() ? process : found->second;
    }

    std::string valueText(const Json& value) const
    {
        return value.is_null()     ? "no process"
               : value.is_object() ? renamed(inBrackets(value["pid"].get<std::uint32_t>()))
               : value.is_string() ? value.get<std::string>()
                                   : value.dump();
    }

    void erase(const std::string& fact)
    {
        const auto found = mFacts.find(fact);
        ASSERT_TRUE(found != mFacts.end()) << "invented: " << fact;
        mFacts.erase(found);
    }

    void rename(const std::string& before, const std::string& now)
    {
        mRenamed[before] = now;
        std::multiset<std::string> facts;
        for (std::string fact : std::exchange(mFacts, {})) {
            if (const std::size_t at = fact.find(before); at != std::string::npos) {
                fact.replace(at, before.size(), now);
            }
            mFacts.insert(fact);
        }
    }

    void applyToProcess(const Change& change, const Model& now)
    {
        const std::string begin = "process " + inBrackets(change.mSubject.mOwner->mProcessId) + " ";
        const std::string attribute = change.mAttribute;
        const auto isOfIt = [&](const std::string& fact) { return fact.starts_with(begin); };
        if (change.mSign == Sign::eRemoved) {
            std::erase_if(mFacts, isOfIt);
        } else if (change.mSign == Sign::eAdded) {
            std::ranges::copy_if(now.mFacts, std::inserter(mFacts, mFacts.end()), isOfIt);
        } else if (attribute == "pid") {
            rename(inBrackets(change.mBefore.get<std::uint32_t>()), inBrackets(change.mNow.get<std::uint32_t>()));
            if (change.mSubject.mOwner->mProcess.mLiving == Living::eYes) {
                mFacts.erase(begin + "dead"); // This goes without saying.
            }
        } else if (attribute == "living") {
            mFacts.erase(begin + "dead");
            if (change.mNow == "no") {
                mFacts.insert(begin + "dead");
            }
        } else if (attribute == "communicators") {
            erase(begin + attribute + " " + valueText(change.mBefore));
            mFacts.insert(begin + attribute + " " + valueText(change.mNow));
        }
    }

    void applyToInterface(const Change& change)
    {
        const auto toFacts = [&](auto what) {
            for (const std::string& fact : factsOf(change.mSubject)) {
                what(fact);
            }
        };
        if (change.mSign == Sign::eRemoved) {
            toFacts([&](const std::string& fact) { erase(fact); });
        } else if (change.mSign == Sign::eAdded) {
            toFacts([&](const std::string& fact) { mFacts.insert(fact); });
        } else if (change.mSign == Sign::eChanged) {
            const std::string begin =
                "interface " + identity(*change.mSubject.mInterface) + " " + change.mAttribute + " ";
            erase(begin + valueText(change.mBefore));
            mFacts.insert(begin + valueText(change.mNow));
        }
    }

    void apply(const Change& change, const Model& now)
    {
        if (change.mKind == ChangeKind::eProcess) {
            applyToProcess(change, now);
        } else if (change.mKind == ChangeKind::eInterface) {
            applyToInterface(change);
        } else if (change.mKind == ChangeKind::eLink) {
            const std::string fact = link(*change.mSubject.mInterface, change.mReceiver.mInterface, change.mNumber);
            change.mSign == Sign::eAdded ? void(mFacts.insert(fact)) : erase(fact);
        }
    }

    std::multiset<std::string> mFacts;
    std::map<std::string, std::string> mRenamed;
};

std::string linesOf(const std::vector<Change>& changes)
{
    std::string lines;
    for (const Change& change : changes) {
        lines += lineOf(change) + '\n';
    }
    return lines;
}

/// Whether the changes tell the way from the one state to the other, no more and no less.
void expectWhole(const BusState& before, const BusState& now, const std::vector<Change>& changes)
{
    Model model(before);
    model.apply(changes, Model(now));
    std::vector<std::string> differences;
    std::ranges::set_symmetric_difference(model.facts(), Model(now).facts(), std::back_inserter(differences));
    EXPECT_THAT(differences, testing::IsEmpty()) << linesOf(changes);
}

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

} // namespace
