#include "inspect/bus/interface_filter.h"

#include <fnmatch.h>

namespace Inspect {

namespace {

bool isLike(const std::optional<std::string>& pattern, const std::string& name)
{
    return !pattern || fnmatch(pattern->c_str(), name.c_str(), 0) == 0;
}

bool isEqual(const std::optional<std::uint32_t>& wanted, std::uint32_t number)
{
    return !wanted || *wanted == number;
}

} // namespace

bool OwnerFilter::fits(const Communicator* owner) const
{
    return (!mApplication && !mProcessId) || (owner != nullptr && fits(owner->mProcessId, owner->mProcess));
}

bool OwnerFilter::fits(std::uint32_t processId, const Process& process) const
{
    return isEqual(mProcessId, processId) &&
           (!mApplication || (process.mApplication && isLike(mApplication, *process.mApplication)));
}

bool InterfaceFilter::fits(const Interface& interface, const Communicator* owner) const
{
    return isLike(mName, interface.mName) && isLike(mRole, interface.mRole) && isLike(mDomain, interface.mDomain) &&
           isEqual(mType, interface.mType) && isEqual(mState, interface.mState) && mOwner.fits(owner);
}

} // namespace Inspect
