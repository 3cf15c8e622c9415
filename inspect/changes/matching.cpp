#include "inspect/changes/matching.h"

#include <algorithm>
#include <map>
#include <optional>
#include <string>
#include <tuple>
#include <utility>

namespace Inspect {

namespace {

/// Pairs those of both sides that are in no pair yet and have the same key, in order. Those without a key stay alone.
template <typename KeyBefore, typename KeyNow>
void pairByKey(Pairing& pairing, KeyBefore keyBefore, KeyNow keyNow)
{
    std::multimap<typename decltype(keyNow(0))::value_type, std::size_t> places; // Equal keys stay in order.
    for (std::size_t now = 0; now < pairing.mBeforeOf.size(); ++now) {
        if (const auto key = pairing.mBeforeOf[now] == cNobody ? keyNow(now) : std::nullopt) {
            places.emplace(*key, now);
        }
    }
    for (std::size_t before = 0; before < pairing.mNowOf.size() && !places.empty(); ++before) {
        const auto key = pairing.mNowOf[before] == cNobody ? keyBefore(before) : std::nullopt;
        const auto found = key ? places.lower_bound(*key) : places.end();
        if (found != places.end() && found->first == *key) {
            pairing.mNowOf[before] = found->second;
            pairing.mBeforeOf[found->second] = before;
            places.erase(found);
        }
    }
}

/// A number for each name, role, domain and type, the same in both states.
std::vector<std::size_t> numberIdentities(const std::vector<Interface>& interfaces,
                                          std::unordered_map<std::string, std::size_t>& numbers)
{
    std::vector<std::size_t> identities;
    identities.reserve(interfaces.size());
    for (const Interface& interface : interfaces) {
        std::string identity = interface.mName;
        for (const std::string& part : {interface.mRole, interface.mDomain, std::to_string(interface.mType)}) {
            identity.append(1, '\0').append(part);
        }
        identities.push_back(numbers.try_emplace(std::move(identity), numbers.size()).first->second);
    }
    return identities;
}

/// What each process has registered, for processes whose application is unknown.
std::vector<std::vector<std::size_t>> identitiesByProcess(const BusIndex& index,
                                                          const std::vector<std::size_t>& identities)
{
    std::vector<std::vector<std::size_t>> lists(index.processes().size());
    for (std::size_t i = 0; i < identities.size(); ++i) {
        if (const std::size_t process = processOf(index, i); process != cNobody) {
            lists[process].push_back(identities[i]);
        }
    }
    for (std::vector<std::size_t>& list : lists) {
        std::ranges::sort(list);
    }
    return lists;
}

/// Distinguishes several interfaces of one identity from each other.
auto traitsOf(const Interface& interface)
{
    const Oxa::Version& version = interface.mVersion;
    return std::tuple(version.mMajor, version.mMinor, version.mRevision, interface.mState, interface.mFunctions);
}

bool areKnownAndDiffer(const auto& one, const auto& other)
{
    return one && other && *one != *other;
}

/// Whether ids of processes in both mean the same.
bool areOfOneBoot(const BusState& before, const BusState& now)
{
    return before.mBootId.empty() || now.mBootId.empty() || before.mBootId == now.mBootId;
}

} // namespace

std::size_t processOf(const BusIndex& index, std::size_t interface)
{
    return index.processOf(index.state().mInterfaces[interface]).value_or(cNobody);
}

const Communicator* ownerOf(const BusIndex& index, std::size_t interface)
{
    const std::size_t process = processOf(index, interface);
    return process == cNobody ? nullptr : index.processes()[process].mCommunicators.front();
}

Matching::Matching(const BusIndex& before, const BusIndex& now)
    : mBefore(before),
      mNow(now),
      mProcesses(before.processes().size(), now.processes().size()),
      mInterfaces(before.state().mInterfaces.size(), now.state().mInterfaces.size())
{
    matchProcesses();
    matchInterfaces();
}

bool Matching::isSameRun(std::size_t before, std::size_t now) const
{
    const BusProcess& one = mBefore.processes()[before];
    const BusProcess& other = mNow.processes()[now];
    return one.id() == other.id() && areOfOneBoot(mBefore.state(), mNow.state()) &&
           !areKnownAndDiffer(one.process().mStartedAfterBoot, other.process().mStartedAfterBoot);
}

/// First those that run on; then by application; then by what they have, where an application is unknown, as that
/// of a dead process always is.
void Matching::matchProcesses()
{
    const auto& processesBefore = mBefore.processes();
    const auto& processesNow = mNow.processes();
    for (std::size_t before = 0; before < processesBefore.size(); ++before) {
        const auto now = mNow.processWithId(processesBefore[before].id());
        if (now && isSameRun(before, *now)) {
            mProcesses.mNowOf[before] = *now;
            mProcesses.mBeforeOf[*now] = before;
        }
    }
    pairByKey(
        mProcesses, [&](std::size_t i) { return processesBefore[i].process().mApplication; },
        [&](std::size_t i) { return processesNow[i].process().mApplication; });

    Numbers numbers;
    const auto before = identitiesByProcess(mBefore, numberIdentities(mBefore.state().mInterfaces, numbers));
    const auto now = identitiesByProcess(mNow, numberIdentities(mNow.state().mInterfaces, numbers));
    const auto keyIn = [](const auto& lists, const std::vector<BusProcess>& processes, bool isUnknown) {
        return [&lists, &processes, isUnknown](std::size_t i) {
            const bool isMeant = !isUnknown || !processes[i].process().mApplication;
            return isMeant && !lists[i].empty() ? std::optional(lists[i]) : std::nullopt;
        };
    };
    pairByKey(mProcesses, keyIn(before, processesBefore, true), keyIn(now, processesNow, false));
    pairByKey(mProcesses, keyIn(before, processesBefore, false), keyIn(now, processesNow, true));
}

Matching::Homes Matching::homesBefore(Numbers& numbers) const
{
    Homes homes;
    for (const std::size_t identity : numberIdentities(mBefore.state().mInterfaces, numbers)) {
        homes.emplace_back(identity, processOf(mBefore, homes.size()));
    }
    return homes;
}

/// A process is the one of before that it is, or a number beyond those.
Matching::Homes Matching::homesNow(Numbers& numbers) const
{
    Homes homes;
    for (const std::size_t identity : numberIdentities(mNow.state().mInterfaces, numbers)) {
        const std::size_t owner = processOf(mNow, homes.size());
        const std::size_t before = owner == cNobody ? cNobody : mProcesses.mBeforeOf[owner];
        homes.emplace_back(identity, owner != cNobody && before == cNobody ? mProcesses.mNowOf.size() + owner : before);
    }
    return homes;
}

void Matching::matchInterfaces()
{
    Numbers numbers;
    const std::vector<Interface>& allBefore = mBefore.state().mInterfaces;
    const std::vector<Interface>& allNow = mNow.state().mInterfaces;
    const Homes before = homesBefore(numbers);
    const Homes now = homesNow(numbers);
    // Ids mean something as long as nobody gave new ones.
    const auto idBefore = [&](std::size_t i) {
        const std::size_t owner = processOf(mBefore, i);
        const std::size_t ownerThen = owner == cNobody ? cNobody : mProcesses.mNowOf[owner];
        const bool isKept = owner == cNobody || (ownerThen != cNobody && isSameRun(owner, ownerThen));
        return isKept ? std::optional(std::pair(before[i], allBefore[i].mId)) : std::nullopt;
    };
    pairByKey(mInterfaces, idBefore, [&](std::size_t i) { return std::optional(std::pair(now[i], allNow[i].mId)); });
    pairByKey(
        mInterfaces, [&](std::size_t i) { return std::optional(std::pair(before[i], traitsOf(allBefore[i]))); },
        [&](std::size_t i) { return std::optional(std::pair(now[i], traitsOf(allNow[i]))); });
    pairByKey(
        mInterfaces, [&](std::size_t i) { return std::optional(before[i]); },
        [&](std::size_t i) { return std::optional(now[i]); });
    const Pairing stayed = mInterfaces;
    pairByKey(
        mInterfaces, [&](std::size_t i) { return std::optional(before[i].first); },
        [&](std::size_t i) { return std::optional(now[i].first); });
    classify(before, now, stayed);
}

void Matching::classify(const Homes& before, const Homes& now, const Pairing& stayed)
{
    std::map<Homes::value_type, std::size_t> classes;
    const auto classOf = [&](const Homes::value_type& home) {
        const auto [place, isNew] = classes.try_emplace(home, mClassCount);
        mClassCount += isNew;
        return place->second;
    };
    for (std::size_t i = 0; i < now.size(); ++i) {
        const bool hasMoved = mInterfaces.mBeforeOf[i] != stayed.mBeforeOf[i];
        mClassesNow.push_back(hasMoved ? mClassCount++ : classOf(now[i]));
    }
    for (std::size_t i = 0; i < before.size(); ++i) {
        const bool hasMoved = mInterfaces.mNowOf[i] != stayed.mNowOf[i];
        mClassesBefore.push_back(hasMoved ? mClassesNow[mInterfaces.mNowOf[i]] : classOf(before[i]));
    }
}

} // namespace Inspect
