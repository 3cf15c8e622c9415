#include "inspect/bus/bus_index.h"

#include <algorithm>
#include <map>
#include <set>
#include <string_view>
#include <tuple>

namespace Inspect {

namespace {

/// The part, made when it is missing.
template <typename Part, typename Make>
const Part& made(std::optional<Part>& part, Make make)
{
    if (!part) {
        part.emplace(make());
    }
    return *part;
}

} // namespace

BusIndex::Processes::Processes(const BusIndex& index)
{
    for (const Communicator& communicator : index.mState.mCommunicators) {
        const auto [place, isNew] = mById.try_emplace(communicator.mProcessId, mList.size());
        if (isNew) {
            mList.emplace_back();
        }
        mList[place->second].mCommunicators.push_back(&communicator);
    }
    for (const Interface& interface : index.mState.mInterfaces) {
        if (const Communicator* const owner = index.ownerOf(interface)) {
            mList[mById.at(owner->mProcessId)].mInterfaces.push_back(&interface);
        }
    }
}

BusIndex::Services::Services(const BusState& state)
{
    std::map<std::pair<std::string_view, std::string_view>, std::size_t> numbers;
    for (const Interface& interface : state.mInterfaces) {
        const auto [place, isNew] = numbers.try_emplace({interface.mName, interface.mDomain}, mList.size());
        if (isNew) {
            mList.emplace_back();
        }
        mNumbers.push_back(place->second);
        if (interface.mType == Oxa::eInterfaceInstanceTypeSkeleton) {
            mList[place->second].mSkeletons.push_back(&interface);
        } else if (interface.mType == Oxa::eInterfaceInstanceTypeStub) {
            mList[place->second].mStubs.push_back(&interface);
        }
    }
}

void BusIndex::makePlaces() const
{
    const std::vector<Interface>& all = mState.mInterfaces;
    for (std::size_t place = all.size(); place-- > 0;) {
        const std::size_t id = all[place].mId;
        mPlaces.resize(std::max(mPlaces.size(), id + 1), all.size());
        mPlaces[id] = place;
    }
}

std::span<const Interface> BusIndex::interfacesWithId(std::uint16_t id) const
{
    const std::vector<Interface>& all = mState.mInterfaces;
    const std::size_t first = firstPlaceOf(id);
    std::size_t end = first;
    while (end < all.size() && all[end].mId == id) {
        ++end;
    }
    return std::span(all).subspan(first, end - first);
}

const Interface* BusIndex::sameAs(const Interface& other) const
{
    const auto identity = [](const Interface& interface) {
        return std::tie(interface.mName, interface.mRole, interface.mDomain, interface.mType);
    };
    const auto candidates = interfacesWithId(other.mId);
    const auto found = std::ranges::find(candidates, identity(other), identity);
    return found == candidates.end() ? nullptr : &*found;
}

const BusIndex::Interfaces& BusIndex::holdersOf(std::uint16_t id) const
{
    static const Interfaces cNone;
    const Holders& holders = made(mHolders, [this] {
        Holders all;
        for (const Interface& interface : mState.mInterfaces) {
            for (const std::uint16_t receiver : interface.mReceivers) {
                all[receiver].push_back(&interface);
            }
        }
        return all;
    });
    const auto found = holders.find(id);
    return found == holders.end() ? cNone : found->second;
}

std::size_t BusIndex::connectedStubs(const Interface& interface) const
{
    std::set<const Interface*> stubs;
    const auto add = [&](const Interface& other) {
        if (other.mType == Oxa::eInterfaceInstanceTypeStub && other.mState == oxa_zunic_registration_state_registered) {
            stubs.insert(&other);
        }
    };
    for (const std::uint16_t id : interface.mReceivers) {
        std::ranges::for_each(interfacesWithId(id), add);
    }
    for (const Interface* const holder : holdersOf(interface.mId)) {
        add(*holder);
    }
    return stubs.size();
}

const Communicator* BusIndex::communicatorWithId(std::uint16_t id) const
{
    const Communicators& communicators = made(mCommunicators, [this] {
        Communicators all;
        for (const Communicator& communicator : mState.mCommunicators) {
            all.try_emplace(communicator.mId, &communicator);
        }
        return all;
    });
    const auto found = communicators.find(id);
    return found == communicators.end() ? nullptr : found->second;
}

const BusIndex::Processes& BusIndex::processTable() const
{
    return made(mProcesses, [this] { return Processes(*this); });
}

const std::vector<BusProcess>& BusIndex::processes() const
{
    return processTable().mList;
}

std::optional<std::size_t> BusIndex::processWithId(std::uint32_t id) const
{
    const auto found = processTable().mById.find(id);
    return found == processTable().mById.end() ? std::nullopt : std::optional(found->second);
}

std::optional<std::size_t> BusIndex::processOf(const Interface& interface) const
{
    const Communicator* const owner = ownerOf(interface);
    return owner == nullptr ? std::nullopt : processWithId(owner->mProcessId);
}

const BusIndex::Services& BusIndex::serviceTable() const
{
    return made(mServices, [this] { return Services(mState); });
}

const std::vector<Service>& BusIndex::services() const
{
    return serviceTable().mList;
}

const Service& BusIndex::serviceOf(const Interface& interface) const
{
    const Services& table = serviceTable();
    return table.mList[table.mNumbers[static_cast<std::size_t>(&interface - mState.mInterfaces.data())]];
}

const Slot* BusIndex::slot(std::uint32_t index) const
{
    const auto found = std::ranges::lower_bound(mState.mMessages.mSlots, index, {}, &Slot::mIndex);
    return found == mState.mMessages.mSlots.end() || found->mIndex != index ? nullptr : &*found;
}

const Backlogs& BusIndex::backlogTable() const
{
    return made(mBacklogs, [this] {
        return backlogs(mState.mMessages, processes().size(), [this](std::uint16_t id) {
            const Interface* const interface = interfaceWithId(id);
            return (interface == nullptr ? std::nullopt : processOf(*interface)).value_or(processes().size());
        });
    });
}

const std::vector<BlockHolders>& BusIndex::blockHolders() const
{
    return made(mBlockHolders, [this] { return Inspect::blockHolders(mState); });
}

BusTotals BusIndex::totals() const
{
    BusTotals totals{.mInterfaces = mState.mInterfaces.size(),
                     .mCommunicators = mState.mCommunicators.size(),
                     .mProcesses = processes().size()};
    for (const BusProcess& process : processes()) {
        const auto isDead = [](const Communicator* one) { return one->mProcess.mLiving == Living::eNo; };
        totals.mDeadProcesses += std::ranges::any_of(process.mCommunicators, isDead) ? 1U : 0U;
    }
    for (const Interface& interface : mState.mInterfaces) {
        totals.mLinks += interface.mReceivers.size();
    }
    return totals;
}

} // namespace Inspect
