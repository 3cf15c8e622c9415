#ifndef CHANNEL_RECORD_TYPES_H
#define CHANNEL_RECORD_TYPES_H

#include <cstdint>
#include <map>
#include <memory_resource>
#include <string>
#include <vector>

/// The states of a registry entry as the bus stores them. Memory may hold any other number.
enum oxa_zunic_registration_state : std::uint32_t
{
    oxa_zunic_registration_state_invalid = 0,
    oxa_zunic_registration_state_registered = 1,
    oxa_zunic_registration_state_unregistered = 2,
    oxa_zunic_registration_state_preregistered = 3
};

namespace OxaZunic {

enum OxaZunicRegistrationState : std::uint32_t
{
    eOxaZunicRegistrationStateInvalid = 0,
    eOxaZunicRegistrationStateRegistered = 1,
    eOxaZunicRegistrationStateUnregistered = 2,
    eOxaZunicRegistrationStatePreregistered = 3,
    eOxaZunicRegistrationStateUnknown = 4
};

} // namespace OxaZunic

namespace Oxa {

enum InterfaceInstanceType : std::uint32_t
{
    eInterfaceInstanceTypeUndefined = 0,
    eInterfaceInstanceTypeStub = 1,    ///< the using side of a service
    eInterfaceInstanceTypeSkeleton = 2 ///< the providing side
};

/// States 0 to 3 keep their number, every other one becomes eOxaZunicRegistrationStateUnknown.
inline OxaZunic::OxaZunicRegistrationState convertRegistrationState(oxa_zunic_registration_state state)
{
    return state > oxa_zunic_registration_state_preregistered ? OxaZunic::eOxaZunicRegistrationStateUnknown
                                                              : static_cast<OxaZunic::OxaZunicRegistrationState>(state);
}

struct Version
{
    Version() = default;
    Version(const std::uint32_t& major, const std::uint32_t& minor, const std::uint32_t& revision)
        : mMajor(major), mMinor(minor), mRevision(revision)
    {}
    bool operator==(const Version& other) const = default;

    std::uint32_t mMajor = 0;
    std::uint32_t mMinor = 0;
    std::uint32_t mRevision = 0;
};

/// The identity of an interface: which interface, in which role and domain, of which type and version.
struct UUID
{
    UUID() = default;
    UUID(const std::string& interfaceName, const std::string& roleName, const std::string& domainName,
         const InterfaceInstanceType& type, const Version& version)
        : mInterfaceName(interfaceName), mRoleName(roleName), mDomainName(domainName), mType(type), mVersion(version)
    {}
    bool operator==(const UUID& other) const = default;

    std::string mInterfaceName;
    std::string mRoleName;
    std::string mDomainName = "local";
    InterfaceInstanceType mType = eInterfaceInstanceTypeUndefined;
    Version mVersion;
};

} // namespace Oxa

namespace OxaZunic {

/// Where in the channel's memory dispatcher a block of data lies.
struct OxaZunicRangeLocation
{
    OxaZunicRangeLocation() = default;
    OxaZunicRangeLocation(const std::uint16_t& memoryManagerIndex, const std::uint16_t& rangeIndex)
        : mMemoryManagerIndex(memoryManagerIndex), mRangeIndex(rangeIndex)
    {}
    bool operator==(const OxaZunicRangeLocation& other) const = default;

    std::uint16_t mMemoryManagerIndex = 0;
    std::uint16_t mRangeIndex = 0;
};

/// One registered interface.
struct OxaZunicInterfaceInformation
{
    OxaZunicInterfaceInformation() = default;
    OxaZunicInterfaceInformation(const Oxa::UUID& uuid, const std::uint16_t& communicatorId,
                                 const std::uint16_t& interfaceId, const OxaZunicRegistrationState& state,
                                 const OxaZunicRangeLocation& rangeLocation)
        : mUuid(uuid),
          mCommunicatorId(communicatorId),
          mInterfaceId(interfaceId),
          mRegistrationState(state),
          mFunctionStorageRangeLocation(rangeLocation)
    {}
    bool operator==(const OxaZunicInterfaceInformation& other) const = default;

    Oxa::UUID mUuid;
    std::uint16_t mCommunicatorId = 0; ///< the communicator that registered the interface
    std::uint16_t mInterfaceId = 0;
    OxaZunicRegistrationState mRegistrationState = eOxaZunicRegistrationStateInvalid;
    OxaZunicRangeLocation mFunctionStorageRangeLocation; ///< where the names of its functions lie
};

/// One registered communicator.
struct OxaZunicCommunicatorInformation
{
    OxaZunicCommunicatorInformation() = default;
    OxaZunicCommunicatorInformation(const std::uint16_t& communicatorId, const std::uint32_t& processId,
                                    const OxaZunicRegistrationState& state)
        : mCommunicatorId(communicatorId), mProcessId(processId), mRegistrationState(state)
    {}
    bool operator==(const OxaZunicCommunicatorInformation& other) const = default;

    std::uint16_t mCommunicatorId = 0;
    std::uint32_t mProcessId = 0; ///< of the process that owns the communicator
    OxaZunicRegistrationState mRegistrationState = eOxaZunicRegistrationStateInvalid;
};

} // namespace OxaZunic

namespace Oxa {

/// The interfaces by their id, which is the order of every report.
using InterfaceMap = std::pmr::map<std::uint16_t, OxaZunic::OxaZunicInterfaceInformation>;

/// The communicators in the order of the channel's table.
using CommunicatorList = std::vector<OxaZunic::OxaZunicCommunicatorInformation>;

/// From the id of an interface to the id of each interface in its receiver set.
using LinkMap = std::pmr::multimap<std::uint16_t, std::uint16_t>;

} // namespace Oxa

#endif
