#ifndef TESTS_SUPPORT_CHANGE_MODEL_H
#define TESTS_SUPPORT_CHANGE_MODEL_H

#include "inspect/bus/words.h"
#include "inspect/changes/wording.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <map>
#include <set>
#include <string>

namespace TestSupport {

using namespace Inspect;

inline std::string inBrackets(std::uint32_t processId)
{
    return "<" + std::to_string(processId) + ">";
}

inline std::string ownerText(const Communicator* owner)
{
    return owner == nullptr ? "no process" : inBrackets(owner->mProcessId);
}

inline std::string identity(const Interface& interface)
{
    return interface.mName + "/" + interface.mRole + "/" + interface.mDomain + "/" + typeWord(interface.mType);
}

inline std::vector<Change> changesBetween(const BusState& before, const BusState& now, Traffic traffic = Traffic::eTold)
{
    std::vector<Change> changes;
    forEachChange(before, now, traffic, [&](const Change& change) { changes.push_back(change); });
    return changes;
}

inline std::string functionsText(const Interface& interface)
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

inline std::string linesOf(const std::vector<Change>& changes)
{
    std::string lines;
    for (const Change& change : changes) {
        lines += lineOf(change) + '\n';
    }
    return lines;
}

/// Whether the changes tell the way from the one state to the other, no more and no less.
inline void expectWhole(const BusState& before, const BusState& now, const std::vector<Change>& changes)
{
    Model model(before);
    model.apply(changes, Model(now));
    std::vector<std::string> differences;
    std::ranges::set_symmetric_difference(model.facts(), Model(now).facts(), std::back_inserter(differences));
    EXPECT_THAT(differences, testing::IsEmpty()) << linesOf(changes);
}

} // namespace TestSupport

#endif
