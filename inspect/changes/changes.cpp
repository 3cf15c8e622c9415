#include "inspect/changes/changes.h"

#include "inspect/bus/fields.h"
#include "inspect/changes/link_changes.h"
#include "inspect/changes/matching.h"

#include <algorithm>
#include <map>

namespace Inspect {

namespace {

class Comparison
{
public:
    Comparison(const Matching& matching, const ChangeVisitor& visit) : mMatching(matching), mVisit(visit) {}

    void compareProcesses();
    void compareInterfaces();

private:
    void compareProcess(std::size_t before, std::size_t now);
    void compareInterface(std::size_t before, std::size_t now);
    void compareOwners(std::size_t before, std::size_t now, const Party& subject);
    void add(Sign sign, ChangeKind kind, const Party& subject)
    {
        mVisit({.mSign = sign, .mKind = kind, .mSubject = subject});
    }
    void add(ChangeKind kind, const Party& subject, const std::string& attribute, Json before, Json now,
             Sign sign = Sign::eChanged)
    {
        mVisit({.mSign = sign,
                .mKind = kind,
                .mSubject = subject,
                .mAttribute = attribute,
                .mBefore = std::move(before),
                .mNow = std::move(now)});
    }

    const Matching& mMatching;
    const ChangeVisitor& mVisit;
};

/// "2 registered, 1 invalid".
std::string statesOf(const std::vector<const Communicator*>& communicators)
{
    std::map<std::uint32_t, std::size_t> counts;
    for (const Communicator* const communicator : communicators) {
        ++counts[communicator->mState];
    }
    std::string text;
    for (const auto& [state, count] : counts) {
        text += (text.empty() ? "" : ", ") + std::to_string(count) + ' ' + stateWord(state);
    }
    return text;
}

Json idsOf(const std::vector<const Communicator*>& communicators)
{
    Json ids = Json::array();
    for (const Communicator* const communicator : communicators) {
        ids.push_back(communicator->mId);
    }
    return ids;
}

// The value of a member as changes show it.

template <std::unsigned_integral Number>
Json shownValue(Number number, Words words)
{
    return words.empty() ? Json(number) : Json(wordFor(words, static_cast<std::uint32_t>(number)));
}

Json shownValue(const Oxa::Version& version, Words /*none*/)
{
    return versionWord(version);
}

Json shownValue(const std::optional<FunctionNames>& names, Words /*none*/)
{
    Json shown = Json::array();
    for (const std::string& name : *names) {
        shown.push_back(nameToJson(name));
    }
    return shown;
}

/// An unknown value differs from none.
template <typename Value>
bool isKnown(const Value& value)
{
    if constexpr (requires { value.has_value(); }) {
        return value.has_value();
    }
    return true;
}

/// Calls `visit` with name, kind, value before and value now of each member that its table says is compared and that
/// differs.
template <typename Record, typename Visit>
void forEachDifference(const Record& before, const Record& now, Visit visit)
{
    forEachField<Record>([&](const auto& field) {
        if constexpr (requires { shownValue(before.*field.mMember, field.mWords); }) {
            const auto& was = before.*field.mMember;
            const auto& is = now.*field.mMember;
            if (field.mDifference != Difference::eNever && isKnown(was) && isKnown(is) && was != is) {
                std::string name = field.mJsonName;
                std::ranges::replace(name, '_', ' ');
                visit(name, field.mDifference, shownValue(was, field.mWords), shownValue(is, field.mWords));
            }
        }
    });
}

/// As one would name it: by its application and process id.
Json nameOf(const Communicator* owner)
{
    if (owner == nullptr) {
        return nullptr;
    }
    Json name;
    name["application"] = owner->mProcess.mApplication ? nameToJson(*owner->mProcess.mApplication) : Json();
    name["pid"] = owner->mProcessId;
    return name;
}

void Comparison::compareProcess(std::size_t before, std::size_t now)
{
    constexpr auto cKind = ChangeKind::eProcess;
    const auto& communicatorsBefore = mMatching.mBefore.processes()[before].mCommunicators;
    const auto& communicatorsNow = mMatching.mNow.processes()[now].mCommunicators;
    const Communicator& old = *communicatorsBefore.front();
    const Communicator& fresh = *communicatorsNow.front();
    const Party subject{nullptr, fresh.mProcess.mApplication ? &fresh : &old};
    const bool isSameRun = mMatching.isSameRun(before, now);
    if (!isSameRun) {
        add(cKind, {nullptr, &fresh}, "pid", old.mProcessId, fresh.mProcessId, Sign::eRestarted);
    }
    if (old.mProcess.mApplication && fresh.mProcess.mApplication &&
        *old.mProcess.mApplication != *fresh.mProcess.mApplication) {
        add(cKind, subject, "application", nameToJson(*old.mProcess.mApplication),
            nameToJson(*fresh.mProcess.mApplication));
    }
    // One that was restarted lives: no need to say it.
    const bool isLivingTold = isSameRun || fresh.mProcess.mLiving == Living::eNo;
    if (isLivingTold && old.mProcess.mLiving != fresh.mProcess.mLiving && old.mProcess.mLiving != Living::eUnknown &&
        fresh.mProcess.mLiving != Living::eUnknown) {
        add(cKind, subject, "living", livingWord(old.mProcess.mLiving), livingWord(fresh.mProcess.mLiving));
    }
    if (const std::string was = statesOf(communicatorsBefore), is = statesOf(communicatorsNow); was != is) {
        add(cKind, subject, "communicators", was, is);
    } else if (Json hadIds = idsOf(communicatorsBefore), hasIds = idsOf(communicatorsNow);
               isSameRun && hadIds != hasIds) {
        add(cKind, subject, "communicator ids", std::move(hadIds), std::move(hasIds), Sign::eRestarted);
    }
}

void Comparison::compareProcesses()
{
    const Pairing& pairing = mMatching.mProcesses;
    for (std::size_t before = 0; before < pairing.mNowOf.size(); ++before) {
        if (pairing.mNowOf[before] == cNobody) {
            add(Sign::eRemoved, ChangeKind::eProcess,
                {nullptr, mMatching.mBefore.processes()[before].mCommunicators.front()});
        } else {
            compareProcess(before, pairing.mNowOf[before]);
        }
    }
    for (std::size_t now = 0; now < pairing.mBeforeOf.size(); ++now) {
        if (pairing.mBeforeOf[now] == cNobody) {
            add(Sign::eAdded, ChangeKind::eProcess, {nullptr, mMatching.mNow.processes()[now].mCommunicators.front()});
        }
    }
}

/// Another id is told where nothing that has been told already is the reason.
void Comparison::compareOwners(std::size_t before, std::size_t now, const Party& subject)
{
    const Interface& old = mMatching.mBefore.state().mInterfaces[before];
    const Interface& fresh = mMatching.mNow.state().mInterfaces[now];
    const std::size_t ownerBefore = processOf(mMatching.mBefore, before);
    const std::size_t ownerNow = processOf(mMatching.mNow, now);
    const bool isOwned = ownerBefore != cNobody && ownerNow != cNobody;
    const bool isSame = isOwned ? mMatching.mProcesses.mNowOf[ownerBefore] == ownerNow : ownerBefore == ownerNow;
    if (!isSame) {
        add(ChangeKind::eInterface, subject, "owner", nameOf(ownerOf(mMatching.mBefore, before)),
            nameOf(subject.mOwner));
    } else if (old.mId != fresh.mId && (!isOwned || mMatching.isSameRun(ownerBefore, ownerNow))) {
        add(ChangeKind::eInterface, subject, "id", old.mId, fresh.mId, Sign::eRestarted);
    }
}

void Comparison::compareInterface(std::size_t before, std::size_t now)
{
    constexpr auto cKind = ChangeKind::eInterface;
    const Interface& old = mMatching.mBefore.state().mInterfaces[before];
    const Interface& fresh = mMatching.mNow.state().mInterfaces[now];
    const Party subject{&fresh, ownerOf(mMatching.mNow, now)};
    compareOwners(before, now, subject);
    forEachDifference(old, fresh, [&](const std::string& name, Difference, Json was, Json is) {
        // Where names were cut says nothing of the bus.
        if (name != "functions" || !(old.mFunctionsCut || fresh.mFunctionsCut)) {
            add(cKind, subject, name, std::move(was), std::move(is));
        }
    });
}

void Comparison::compareInterfaces()
{
    const Pairing& pairing = mMatching.mInterfaces;
    for (std::size_t before = 0; before < pairing.mNowOf.size(); ++before) {
        if (pairing.mNowOf[before] == cNobody) {
            add(Sign::eRemoved, ChangeKind::eInterface,
                {&mMatching.mBefore.state().mInterfaces[before], ownerOf(mMatching.mBefore, before)});
        } else {
            compareInterface(before, pairing.mNowOf[before]);
        }
    }
    for (std::size_t now = 0; now < pairing.mBeforeOf.size(); ++now) {
        if (pairing.mBeforeOf[now] == cNobody) {
            add(Sign::eAdded, ChangeKind::eInterface,
                {&mMatching.mNow.state().mInterfaces[now], ownerOf(mMatching.mNow, now)});
        }
    }
}

void compareManagers(const BusState& before, const BusState& now, Traffic traffic, const ChangeVisitor& visit)
{
    constexpr auto cKind = ChangeKind::eMemory;
    const std::size_t both = std::min(before.mMemoryManagers.size(), now.mMemoryManagers.size());
    for (std::size_t i = 0; i < both; ++i) {
        forEachDifference(before.mMemoryManagers[i], now.mMemoryManagers[i],
                          [&](const std::string& name, Difference difference, Json was, Json is) {
                              if (difference == Difference::eAlways || traffic == Traffic::eTold) {
                                  visit({.mKind = cKind,
                                         .mNumber = i,
                                         .mAttribute = name,
                                         .mBefore = std::move(was),
                                         .mNow = std::move(is)});
                              }
                          });
    }
    for (std::size_t i = both; i < before.mMemoryManagers.size(); ++i) {
        visit({.mSign = Sign::eRemoved, .mKind = cKind, .mNumber = i});
    }
    for (std::size_t i = both; i < now.mMemoryManagers.size(); ++i) {
        visit({.mSign = Sign::eAdded, .mKind = cKind, .mNumber = i});
    }
}

void compareMessages(const MessageStorage& before, const MessageStorage& now, const ChangeVisitor& visit)
{
    const auto compare = [&](const char* attribute, std::uint32_t old, std::uint32_t fresh) {
        if (old != fresh) {
            visit({.mKind = ChangeKind::eMessages, .mAttribute = attribute, .mBefore = old, .mNow = fresh});
        }
    };
    compare("slots", before.mSize, now.mSize);
    for (const auto& [state, word] : cSlotStateWords) {
        compare(word, before.mTotals.at(state), now.mTotals.at(state));
    }
}

} // namespace

void forEachChange(const BusState& before, const BusState& now, Traffic traffic, const ChangeVisitor& visit)
{
    const BusIndex indexBefore(before);
    const BusIndex indexNow(now);
    const Matching matching(indexBefore, indexNow);
    Comparison comparison(matching, visit);
    comparison.compareProcesses();
    comparison.compareInterfaces();
    forEachLinkChange(matching, visit);
    compareManagers(before, now, traffic, visit);
    if (traffic == Traffic::eTold) {
        compareMessages(before.mMessages, now.mMessages, visit);
    }
}

} // namespace Inspect
