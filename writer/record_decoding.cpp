#include "writer/oxa_zunic_enquirer_writer_interface.h"

#include "channel/function_names.h"

namespace Oxa {

using OxaZunic::OxaZunicCommunicatorInformation;
using OxaZunic::OxaZunicInterfaceInformation;

std::string OxaZunicEnquirerWriterInterface::createType(InterfaceInstanceType type)
{
    switch (type) {
    case eInterfaceInstanceTypeStub:
        return "Stub";
    case eInterfaceInstanceTypeSkeleton:
        return "Skeleton";
    default:
        return "Undefined";
    }
}

std::string OxaZunicEnquirerWriterInterface::convertRegistrationState(OxaZunic::OxaZunicRegistrationState state)
{
    switch (state) {
    case OxaZunic::eOxaZunicRegistrationStateInvalid:
        return "Invalid";
    case OxaZunic::eOxaZunicRegistrationStateRegistered:
        return "Registered";
    case OxaZunic::eOxaZunicRegistrationStateUnregistered:
        return "unRegistered";
    case OxaZunic::eOxaZunicRegistrationStatePreregistered:
        return "Required";
    default:
        return "Unknown";
    }
}

std::string OxaZunicEnquirerWriterInterface::versionNumberToString(Version version)
{
    return std::to_string(version.mMajor) + "." + std::to_string(version.mMinor) + "." +
           std::to_string(version.mRevision);
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): by value in the writers' interface.
std::string OxaZunicEnquirerWriterInterface::decodeInterface(OxaZunicInterfaceInformation info, std::string fieldName)
{
    if (fieldName == "InterfaceId") {
        return std::to_string(info.mInterfaceId);
    }
    if (fieldName == "CommunicatorId") {
        return std::to_string(info.mCommunicatorId);
    }
    if (fieldName == "RegistrationState") {
        return convertRegistrationState(info.mRegistrationState);
    }
    if (fieldName == "mInterfaceName") {
        return info.mUuid.mInterfaceName;
    }
    if (fieldName == "mRoleName") {
        return info.mUuid.mRoleName;
    }
    if (fieldName == "mDomainName") {
        return info.mUuid.mDomainName;
    }
    if (fieldName == "type") {
        return createType(info.mUuid.mType);
    }
    if (fieldName == "version") {
        return versionNumberToString(info.mUuid.mVersion);
    }
    if (fieldName == "FunctionStorageRangeLocation") {
        return std::to_string(info.mFunctionStorageRangeLocation.mMemoryManagerIndex) + " " +
               std::to_string(info.mFunctionStorageRangeLocation.mRangeIndex);
    }
    return "";
}

// NOLINTBEGIN(performance-unnecessary-value-param): by value in the writers' interface.
std::string OxaZunicEnquirerWriterInterface::decodeCommunicator(OxaZunicCommunicatorInformation info,
                                                                std::string fieldName)
{
    if (fieldName == "ProcessId") {
        return std::to_string(info.mProcessId);
    }
    if (fieldName == "CommunicatorId") {
        return std::to_string(info.mCommunicatorId);
    }
    if (fieldName == "RegistrationState") {
        return convertRegistrationState(info.mRegistrationState);
    }
    return "";
}
// NOLINTEND(performance-unnecessary-value-param)

int OxaZunicEnquirerWriterInterface::decodeFunctionStorage(const OxaZunicInterfaceInformation& info,
                                                           oxa_zunic_memory_dispatcher_struct* dispatcher,
                                                           std::list<std::string>& functions)
{
    std::vector<std::string_view> names;
    const int mapped = Channel::readFunctionNames(dispatcher, info.mFunctionStorageRangeLocation, names);
    for (std::size_t i = 0; i < names.size(); ++i) {
        functions.emplace_back("\t").append(std::to_string(i)).append(" | ").append(names[i]);
    }
    return mapped;
}

} // namespace Oxa
