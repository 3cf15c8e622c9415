#include "inspect/changes/link_changes.h"

#include <algorithm>
#include <utility>

namespace Inspect {

namespace {

/// Of an id that no interface in use has: such ids are the same by themselves. More than there can be interfaces.
constexpr std::size_t cIsNobody = std::size_t{1} << 31;

/// One of the two states.
struct Side
{
    Side(const BusIndex& index, const std::vector<std::size_t>& classes, std::size_t classCount)
        : mIndex(index), mClasses(classes), mMembers(classCount)
    {
        for (std::size_t i = 0; i < classes.size(); ++i) {
            mMembers[classes[i]].push_back(i);
        }
    }

    const std::vector<Interface>& interfaces() const { return mIndex.state().mInterfaces; }

    /// By its place. Of several with one id, the first counts.
    std::size_t interfaceOf(std::uint16_t id) const
    {
        const Interface* const interface = mIndex.interfaceWithId(id);
        return interface == nullptr ? cNobody : static_cast<std::size_t>(interface - interfaces().data());
    }

    std::size_t classOf(std::uint16_t id) const
    {
        const std::size_t interface = interfaceOf(id);
        return interface == cNobody ? cIsNobody + id : mClasses[interface];
    }

    Party party(std::size_t interface) const
    {
        return interface == cNobody ? Party{} : Party{&interfaces()[interface], ownerOf(mIndex, interface)};
    }

    const BusIndex& mIndex;
    const std::vector<std::size_t>& mClasses;       ///< of the interfaces
    std::vector<std::vector<std::size_t>> mMembers; ///< the interfaces of each class
};

bool areIdsTheSame(const Side& one, const Side& other)
{
    const auto hasSameClass = [&](const Interface& interface) {
        return one.classOf(interface.mId) == other.classOf(interface.mId);
    };
    return std::ranges::all_of(one.interfaces(), hasSameClass) && std::ranges::all_of(other.interfaces(), hasSameClass);
}

/// Small, because one process may have all links that there can be.
struct Link
{
    std::uint32_t mReceiverClass;
    std::uint32_t mHolder; ///< as a place
    std::uint16_t mReceiver;
};

/// The links from all members of a class, by class of the receiver.
std::vector<Link> linksFrom(const Side& side, std::size_t holderClass)
{
    std::size_t count = 0;
    for (const std::size_t holder : side.mMembers[holderClass]) {
        count += side.interfaces()[holder].mReceivers.size();
    }
    std::vector<Link> links;
    links.reserve(count);
    for (const std::size_t holder : side.mMembers[holderClass]) {
        for (const std::uint16_t receiver : side.interfaces()[holder].mReceivers) {
            links.push_back(
                {static_cast<std::uint32_t>(side.classOf(receiver)), static_cast<std::uint32_t>(holder), receiver});
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

void compareLinksFrom(std::size_t holderClass, const Side& before, const Side& now, const ChangeVisitor& visit)
{
    const std::vector<Link> old = linksFrom(before, holderClass);
    const std::vector<Link> fresh = linksFrom(now, holderClass);
    auto removed = old.begin();
    auto added = fresh.begin();
    while (removed != old.end() || added != fresh.end()) {
        if (added == fresh.end() || (removed != old.end() && removed->mReceiverClass < added->mReceiverClass)) {
            visit(changeOf(Sign::eRemoved, before, *removed++));
        } else if (removed == old.end() || added->mReceiverClass < removed->mReceiverClass) {
            visit(changeOf(Sign::eAdded, now, *added++));
        } else {
            ++removed;
            ++added;
        }
    }
}

} // namespace

void forEachLinkChange(const Matching& matching, const ChangeVisitor& visit)
{
    const std::size_t count = matching.mClassCount;
    const Side before(matching.mBefore, matching.mClassesBefore, count);
    const Side now(matching.mNow, matching.mClassesNow, count);
    const bool areSameIds = areIdsTheSame(before, now);
    for (std::size_t i = 0; i < count; ++i) {
        const auto isSame = [&] {
            const auto& members = before.mMembers[i];
            return members.size() == 1 && now.mMembers[i].size() == 1 &&
                   before.interfaces()[members[0]].mReceivers == now.interfaces()[now.mMembers[i][0]].mReceivers;
        };
        if (!areSameIds || !isSame()) {
            compareLinksFrom(i, before, now, visit);
        }
    }
}

} // namespace Inspect
