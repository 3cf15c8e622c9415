#include "enquirer/record_types.h"

namespace Oxa {

OxaZunic::OxaZunicRegistrationState convertRegistrationState(oxa_zunic_registration_state state)
{
    if (state > oxa_zunic_registration_state_preregistered) {
        return OxaZunic::eOxaZunicRegistrationStateUnknown;
    }
    return static_cast<OxaZunic::OxaZunicRegistrationState>(state);
}

Version::Version(const std::uint32_t& major, const std::uint32_t& minor, const std::uint32_t& revision)
    : mMajor(major), mMinor(minor), mRevision(revision)
{}

UUID::UUID(const std::string& interfaceName, const std::string& roleName, const std::string& domainName,
           const InterfaceInstanceType& type, const Version& version)
    : mInterfaceName(interfaceName), mRoleName(roleName), mDomainName(domainName), mType(type), mVersion(version)
{}

} // namespace Oxa

namespace OxaZunic {

OxaZunicRangeLocation::OxaZunicRangeLocation(const std::uint16_t& memoryManagerIndex, const std::uint16_t& rangeIndex)
    : mMemoryManagerIndex(memoryManagerIndex), mRangeIndex(rangeIndex)
{}

OxaZunicInterfaceInformation::OxaZunicInterfaceInformation(const Oxa::UUID& uuid, const std::uint16_t& communicatorId,
                                                           const std::uint16_t& interfaceId,
                                                           const OxaZunicRegistrationState& state,
                                                           const OxaZunicRangeLocation& rangeLocation)
    : mUuid(uuid),
      mCommunicatorId(communicatorId),
      mInterfaceId(interfaceId),
      mRegistrationState(state),
      mFunctionStorageRangeLocation(rangeLocation)
{}

OxaZunicCommunicatorInformation::OxaZunicCommunicatorInformation(const std::uint16_t& communicatorId,
                                                                 const std::uint32_t& processId,
                                                                 const OxaZunicRegistrationState& state)
    : mCommunicatorId(communicatorId), mProcessId(processId), mRegistrationState(state)
{}

} // namespace OxaZunic
