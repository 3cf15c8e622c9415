#include "inspect/changes/changes.h"

#include "inspect/bus/words.h"
#include "inspect/changes/link_changes.h"
#include "inspect/changes/matching.h"

#include <map>

namespace Inspect {

namespace {

class Comparison
{
public:
    Comparison(const Matching& matching, std::vector<Change>& changes) : mMatching(matching), mChanges(changes) {}

    void compareProcesses();
    void compareInterfaces();

private:
    void compareProcess(std::size_t before, std::size_t now);
    void compareInterface(std::size_t before, std::size_t now);
    void compareOwners(std::size_t before, std::size_t now, const Party& subject);
    void tell(Sign sign, ChangeKind kind, const Party& subject)
    {
        mChanges.push_back({.mSign = sign, .mKind = kind, .mSubject = subject});
    }
    void tell(ChangeKind kind, const Party& subject, const char* attribute, Json before, Json now,
              Sign sign = Sign::eChanged)
    {
        mChanges.push_back({.mSign = sign,
                            .mKind = kind,
                            .mSubject = subject,
                            .mAttribute = attribute,
                            .mBefore = std::move(before),
                            .mNow = std::move(now)});
    }

    const Matching& mMatching;
    std::vector<Change>& mChanges;
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

Json namesOf(const std::vector<std::string>& functions)
{
    Json names = Json::array();
    for (const std::string& function : functions) {
        names.push_back(nameToJson(function));
    }
    return names;
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
    const auto& communicatorsBefore = mMatching.mProcessesBefore.mList[before];
    const auto& communicatorsNow = mMatching.mProcessesNow.mList[now];
    const Communicator& old = *communicatorsBefore.front();
    const Communicator& fresh = *communicatorsNow.front();
    const Party subject{nullptr, fresh.mProcess.mApplication ? &fresh : &old};
    const bool isSameRun = mMatching.isSameRun(before, now);
    if (!isSameRun) {
        tell(cKind, {nullptr, &fresh}, "pid", old.mProcessId, fresh.mProcessId, Sign::eRestarted);
    }
    if (old.mProcess.mApplication && fresh.mProcess.mApplication &&
        *old.mProcess.mApplication != *fresh.mProcess.mApplication) {
        tell(cKind, subject, "application", nameToJson(*old.mProcess.mApplication),
             nameToJson(*fresh.mProcess.mApplication));
    }
    // One that was restarted lives: no need to say it.
    const bool isLivingTold = isSameRun || fresh.mProcess.mLiving == Living::eNo;
    if (isLivingTold && old.mProcess.mLiving != fresh.mProcess.mLiving && old.mProcess.mLiving != Living::eUnknown &&
        fresh.mProcess.mLiving != Living::eUnknown) {
        tell(cKind, subject, "living", livingWord(old.mProcess.mLiving), livingWord(fresh.mProcess.mLiving));
    }
    if (const std::string was = statesOf(communicatorsBefore), is = statesOf(communicatorsNow); was != is) {
        tell(cKind, subject, "communicators", was, is);
    } else if (Json hadIds = idsOf(communicatorsBefore), hasIds = idsOf(communicatorsNow);
               isSameRun && hadIds != hasIds) {
        tell(cKind, subject, "communicator ids", std::move(hadIds), std::move(hasIds), Sign::eRestarted);
    }
}

void Comparison::compareProcesses()
{
    const Pairing& pairing = mMatching.mProcesses;
    for (std::size_t before = 0; before < pairing.mNowOf.size(); ++before) {
        if (pairing.mNowOf[before] == cNobody) {
            tell(Sign::eRemoved, ChangeKind::eProcess, {nullptr, &mMatching.mProcessesBefore[before]});
        } else {
            compareProcess(before, pairing.mNowOf[before]);
        }
    }
    for (std::size_t now = 0; now < pairing.mBeforeOf.size(); ++now) {
        if (pairing.mBeforeOf[now] == cNobody) {
            tell(Sign::eAdded, ChangeKind::eProcess, {nullptr, &mMatching.mProcessesNow[now]});
        }
    }
}

/// Another id is told where nothing that has been told already is the reason.
void Comparison::compareOwners(std::size_t before, std::size_t now, const Party& subject)
{
    const Interface& old = mMatching.mBefore.mInterfaces[before];
    const Interface& fresh = mMatching.mNow.mInterfaces[now];
    const std::size_t ownerBefore = mMatching.mProcessesBefore.mOwners[before];
    const std::size_t ownerNow = mMatching.mProcessesNow.mOwners[now];
    const bool isOwned = ownerBefore != cNobody && ownerNow != cNobody;
    const bool isSame = isOwned ? mMatching.mProcesses.mNowOf[ownerBefore] == ownerNow : ownerBefore == ownerNow;
    if (!isSame) {
        tell(ChangeKind::eInterface, subject, "owner", nameOf(mMatching.mProcessesBefore.ownerOf(before)),
             nameOf(subject.mOwner));
    } else if (old.mId != fresh.mId && (!isOwned || mMatching.isSameRun(ownerBefore, ownerNow))) {
        tell(ChangeKind::eInterface, subject, "id", old.mId, fresh.mId, Sign::eRestarted);
    }
}

void Comparison::compareInterface(std::size_t before, std::size_t now)
{
    constexpr auto cKind = ChangeKind::eInterface;
    const Interface& old = mMatching.mBefore.mInterfaces[before];
    const Interface& fresh = mMatching.mNow.mInterfaces[now];
    const Party subject{&fresh, mMatching.mProcessesNow.ownerOf(now)};
    compareOwners(before, now, subject);
    if (old.mVersion != fresh.mVersion) {
        tell(cKind, subject, "version", versionWord(old.mVersion), versionWord(fresh.mVersion));
    }
    if (old.mState != fresh.mState) {
        tell(cKind, subject, "state", stateWord(old.mState), stateWord(fresh.mState));
    }
    if (old.mFunctions && fresh.mFunctions && *old.mFunctions != *fresh.mFunctions) {
        tell(cKind, subject, "functions", namesOf(*old.mFunctions), namesOf(*fresh.mFunctions));
    }
}

void Comparison::compareInterfaces()
{
    const Pairing& pairing = mMatching.mInterfaces;
    for (std::size_t before = 0; before < pairing.mNowOf.size(); ++before) {
        if (pairing.mNowOf[before] == cNobody) {
            tell(Sign::eRemoved, ChangeKind::eInterface,
                 {&mMatching.mBefore.mInterfaces[before], mMatching.mProcessesBefore.ownerOf(before)});
        } else {
            compareInterface(before, pairing.mNowOf[before]);
        }
    }
    for (std::size_t now = 0; now < pairing.mBeforeOf.size(); ++now) {
        if (pairing.mBeforeOf[now] == cNobody) {
            tell(Sign::eAdded, ChangeKind::eInterface,
                 {&mMatching.mNow.mInterfaces[now], mMatching.mProcessesNow.ownerOf(now)});
        }
    }
}

/// Adds a change if the number is another one.
void compareNumber(std::vector<Change>& changes, ChangeKind kind, std::size_t index, const char* attribute,
                   std::uint64_t before, std::uint64_t now)
{
    if (before != now) {
        changes.push_back({.mKind = kind, .mNumber = index, .mAttribute = attribute, .mBefore = before, .mNow = now});
    }
}

void compareManagers(const BusState& before, const BusState& now, Traffic traffic, std::vector<Change>& changes)
{
    constexpr auto cKind = ChangeKind::eMemory;
    const std::size_t both = std::min(before.mMemoryManagers.size(), now.mMemoryManagers.size());
    for (std::size_t i = 0; i < both; ++i) {
        const Channel::MemoryManagerFigures& old = before.mMemoryManagers[i];
        const Channel::MemoryManagerFigures& fresh = now.mMemoryManagers[i];
        compareNumber(changes, cKind, i, "block size", old.mBlockSize, fresh.mBlockSize);
        compareNumber(changes, cKind, i, "initial blocks", old.mInitialBlocks, fresh.mInitialBlocks);
        compareNumber(changes, cKind, i, "additional blocks", old.mAdditionalBlocks, fresh.mAdditionalBlocks);
        compareNumber(changes, cKind, i, "total blocks", old.mTotalBlocks, fresh.mTotalBlocks);
        if (traffic == Traffic::eTold) {
            compareNumber(changes, cKind, i, "used blocks", old.mUsedBlocks, fresh.mUsedBlocks);
        }
    }
    for (std::size_t i = both; i < before.mMemoryManagers.size(); ++i) {
        changes.push_back({.mSign = Sign::eRemoved, .mKind = cKind, .mNumber = i});
    }
    for (std::size_t i = both; i < now.mMemoryManagers.size(); ++i) {
        changes.push_back({.mSign = Sign::eAdded, .mKind = cKind, .mNumber = i});
    }
}

void compareMessages(const MessageStorage& before, const MessageStorage& now, std::vector<Change>& changes)
{
    const auto compare = [&](const char* attribute, std::uint32_t old, std::uint32_t fresh) {
        compareNumber(changes, ChangeKind::eMessages, 0, attribute, old, fresh);
    };
    compare("slots", before.mSize, now.mSize);
    compare("free", before.mTotals.mFree, now.mTotals.mFree);
    compare("reserved", before.mTotals.mReserved, now.mTotals.mReserved);
    compare("written", before.mTotals.mWritten, now.mTotals.mWritten);
    compare("message", before.mTotals.mMessage, now.mTotals.mMessage);
    compare("data", before.mTotals.mData, now.mTotals.mData);
}

} // namespace

std::vector<Change> changesBetween(const BusState& before, const BusState& now, Traffic traffic)
{
    std::vector<Change> changes;
    const Matching matching(before, now);
    Comparison comparison(matching, changes);
    comparison.compareProcesses();
    comparison.compareInterfaces();
    appendLinkChanges(matching, changes);
    compareManagers(before, now, traffic, changes);
    if (traffic == Traffic::eTold) {
        compareMessages(before.mMessages, now.mMessages, changes);
    }
    return changes;
}

} // namespace Inspect
