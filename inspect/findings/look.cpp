#include "inspect/findings/look.h"

#include <algorithm>
#include <map>
#include <string_view>
#include <tuple>

namespace Inspect {

Look::Look(const BusState& state) : mState(state), mInterfaces(std::size_t{1} << 16)
{
    std::map<std::pair<std::string_view, std::string_view>, std::size_t> numbers;
    for (const Interface& interface : state.mInterfaces) {
        if (mInterfaces[interface.mId] == nullptr) {
            mInterfaces[interface.mId] = &interface;
        }
        const auto [place, isNew] = numbers.try_emplace({interface.mName, interface.mDomain}, mServices.size());
        if (isNew) {
            mServices.emplace_back();
        }
        mServiceNumbers.push_back(place->second);
        if (interface.mType == Oxa::eInterfaceInstanceTypeSkeleton) {
            mServices[place->second].mSkeletons.push_back(&interface);
        } else if (interface.mType == Oxa::eInterfaceInstanceTypeStub) {
            mServices[place->second].mStubs.push_back(&interface);
        }
    }
    for (const Communicator& communicator : state.mCommunicators) {
        mCommunicators.try_emplace(communicator.mId, &communicator);
    }
}

const Communicator* Look::communicatorWithId(std::uint16_t id) const
{
    const auto found = mCommunicators.find(id);
    return found == mCommunicators.end() ? nullptr : found->second;
}

const Interface* Look::sameAs(const Interface& other) const
{
    const auto key = [](const Interface& interface) {
        return std::tie(interface.mName, interface.mRole, interface.mDomain, interface.mType);
    };
    const auto first = std::ranges::lower_bound(mState.mInterfaces, other.mId, {}, &Interface::mId);
    for (auto place = first; place != mState.mInterfaces.end() && place->mId == other.mId; ++place) {
        if (key(*place) == key(other)) {
            return &*place;
        }
    }
    return nullptr;
}

const Slot* Look::slot(std::uint32_t index) const
{
    const auto found = std::ranges::lower_bound(mState.mMessages.mSlots, index, {}, &Slot::mIndex);
    return found == mState.mMessages.mSlots.end() || found->mIndex != index ? nullptr : &*found;
}

const Service& Look::serviceOf(const Interface& interface) const
{
    return mServices[mServiceNumbers[indexOf(interface)]];
}

bool Look::areOfOneService(const Interface& one, const Interface& other) const
{
    return mServiceNumbers[indexOf(one)] == mServiceNumbers[indexOf(other)];
}

} // namespace Inspect
