#include "enquirer/interface_filter.h"

namespace Oxa {

namespace {

bool isNoneOrEqual(std::string_view filter, std::string_view name)
{
    return filter.empty() || filter == name;
}

template <typename Value>
bool isNoneOrEqual(const std::optional<Value>& filter, Value value)
{
    return !filter || *filter == value;
}

} // namespace

bool InterfaceFilter::fits(const OxaZunic::OxaZunicInterfaceInformation& info) const
{
    return isNoneOrEqual(type, info.mUuid.mType) && isNoneOrEqual(state, info.mRegistrationState) &&
           isNoneOrEqual(interfaceName, info.mUuid.mInterfaceName) && isNoneOrEqual(roleName, info.mUuid.mRoleName) &&
           isNoneOrEqual(domainName, info.mUuid.mDomainName);
}

bool InterfaceFilter::fits(const ChannelLayout::InterfaceEntry& entry) const
{
    return isNoneOrEqual(type, entry.type) && isNoneOrEqual(state, convertRegistrationState(entry.state)) &&
           isNoneOrEqual(interfaceName, ChannelLayout::nameIn(entry.interfaceName)) &&
           isNoneOrEqual(roleName, ChannelLayout::nameIn(entry.roleName)) &&
           isNoneOrEqual(domainName, ChannelLayout::nameIn(entry.domainName));
}

} // namespace Oxa
