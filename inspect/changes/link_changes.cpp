#include "inspect/changes/link_changes.h"

#include <algorithm>
#include <utility>

namespace Inspect {

namespace {

/// Of an id that no interface in use has: such ids are the same by themselves.
constexpr std::size_t cIsNobody = std::size_t{1} << 32;

/// One of the two states.
struct Side
{
    Side(const BusState& state, const Processes& processes, const std::vector<std::size_t>& classes,
         std::size_t classCount)
        : mState(state), mProcesses(processes), mClasses(classes), mMembers(classCount)
    {
        for (std::size_t i = 0; i < classes.size(); ++i) {
            const std::size_t id = state.mInterfaces[i].mId;
            mInterfacesOfId.resize(std::max(mInterfacesOfId.size(), id + 1), cNobody);
            if (mInterfacesOfId[id] == cNobody) { // Of several with one id, the first counts.
                mInterfacesOfId[id] = i;
            }
            mMembers[classes[i]].push_back(i);
        }
    }

    std::size_t interfaceOf(std::size_t id) const
    {
        return id < mInterfacesOfId.size() ? mInterfacesOfId[id] : cNobody;
    }

    std::size_t classOf(std::size_t id) const
    {
        const std::size_t interface = interfaceOf(id);
        return interface == cNobody ? cIsNobody + id : mClasses[interface];
    }

    Party party(std::size_t interface) const
    {
        return interface == cNobody ? Party{} : Party{&mState.mInterfaces[interface], mProcesses.ownerOf(interface)};
    }

    const BusState& mState;
    const Processes& mProcesses;
    const std::vector<std::size_t>& mClasses; ///< of the interfaces
    std::vector<std::size_t> mInterfacesOfId;
    std::vector<std::vector<std::size_t>> mMembers; ///< the interfaces of each class
};

bool areIdsTheSame(const Side& one, const Side& other)
{
    const std::size_t end = std::max(one.mInterfacesOfId.size(), other.mInterfacesOfId.size());
    for (std::size_t id = 0; id < end; ++id) {
        if (one.classOf(id) != other.classOf(id)) {
            return false;
        }
    }
    return true;
}

struct Link
{
    std::size_t mReceiverClass;
    std::size_t mHolder; ///< as a place
    std::uint16_t mReceiver;
};

/// The links from all members of a class, by class of the receiver.
std::vector<Link> linksFrom(const Side& side, std::size_t holderClass)
{
    std::vector<Link> links;
    for (const std::size_t holder : side.mMembers[holderClass]) {
        for (const std::uint16_t receiver : side.mState.mInterfaces[holder].mReceivers) {
            links.push_back({side.classOf(receiver), holder, receiver});
        }
    }
    std::ranges::stable_sort(links, {}, &Link::mReceiverClass);
    return links;
}

Change changeOf(Sign sign, const Side& side, const Link& link)
{
    return {.mSign = sign,
            .mKind = ChangeKind::eLink,
            .mSubject = side.party(link.mHolder),
            .mReceiver = side.party(side.interfaceOf(link.mReceiver)),
            .mNumber = link.mReceiver};
}

void compareLinksFrom(std::size_t holderClass, const Side& before, const Side& now, std::vector<Change>& changes)
{
    const std::vector<Link> old = linksFrom(before, holderClass);
    const std::vector<Link> fresh = linksFrom(now, holderClass);
    auto removed = old.begin();
    auto added = fresh.begin();
    while (removed != old.end() || added != fresh.end()) {
        if (added == fresh.end() || (removed != old.end() && removed->mReceiverClass < added->mReceiverClass)) {
            changes.push_back(changeOf(Sign::eRemoved, before, *removed++));
        } else if (removed == old.end() || added->mReceiverClass < removed->mReceiverClass) {
            changes.push_back(changeOf(Sign::eAdded, now, *added++));
        } else {
            ++removed;
            ++added;
        }
    }
}

} // namespace

void appendLinkChanges(const Matching& matching, std::vector<Change>& changes)
{
    const std::size_t count = matching.mClassCount;
    const Side before(matching.mBefore, matching.mProcessesBefore, matching.mClassesBefore, count);
    const Side now(matching.mNow, matching.mProcessesNow, matching.mClassesNow, count);
    const bool areSameIds = areIdsTheSame(before, now);
    for (std::size_t i = 0; i < count; ++i) {
        const auto isSame = [&] {
            const auto& members = before.mMembers[i];
            return members.size() == 1 && now.mMembers[i].size() == 1 &&
                   before.mState.mInterfaces[members[0]].mReceivers ==
                       now.mState.mInterfaces[now.mMembers[i][0]].mReceivers;
        };
        if (!areSameIds || !isSame()) {
            compareLinksFrom(i, before, now, changes);
        }
    }
}

} // namespace Inspect
