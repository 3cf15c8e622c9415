#include "writer/oxa_zunic_enquirer_writer_interface.h"

#include "enquirer/channel_layout.h"

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

// By value in the writers' interface.
// NOLINTBEGIN(performance-unnecessary-value-param)

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
    using namespace ChannelLayout;

    const oxa_zunic_range_location location{info.mFunctionStorageRangeLocation.mMemoryManagerIndex,
                                            info.mFunctionStorageRangeLocation.mRangeIndex};
    oxa_zunic_function_storage storage{};
    const int mapped = oxa_zunic_function_storage_map(dispatcher, location, &storage);
    if (mapped != 0 || !oxa_zunic_function_storage_is_valid(&storage)) {
        return mapped;
    }
    const auto count = readAt<std::uint16_t>(readAt<const void*>(&storage, cFunctionStorageCount), 0);
    const auto* const records = readAt<const std::byte*>(&storage, cFunctionStorageRecords);
    const auto* const names = readAt<const char*>(&storage, cFunctionStorageNames);
    for (std::size_t i = 0; i < count; ++i) {
        const auto record = readAt<FunctionRecord>(records, i * sizeof(FunctionRecord));
        std::string& line = functions.emplace_back("\t");
        line.append(std::to_string(i)).append(" | ").append(names + record.nameOffset, record.nameLength);
    }
    return mapped;
}

} // namespace Oxa
