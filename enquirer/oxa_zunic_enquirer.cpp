#include "enquirer/oxa_zunic_enquirer.h"

#include "enquirer/channel_layout.h"
#include "enquirer/snapshot.h"

#include "oxa/oxa_mutex.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iostream>
#include <optional>
#include <sys/stat.h>

namespace Oxa {

using namespace ChannelLayout;

namespace {

template <typename Target>
Target* addressIn(void* base, std::size_t offset)
{
    return reinterpret_cast<Target*>(static_cast<std::byte*>(base) + offset);
}

std::byte* registryBase(oxa_zunic_communication_channel* channel)
{
    return readAt<std::byte*>(channel, cHandleRegistryBase);
}

} // namespace

OxaZunicEnquirer::OxaZunicEnquirer(const std::string& outputDirectory, bool history, bool dotFile)
    : mOutputDir(outputDirectory), mHistory(history), mDotFile(dotFile), mTextWriter(mOutputDir), mDotWriter(mOutputDir)
{}

OxaZunicEnquirer::~OxaZunicEnquirer() = default;

OxaResult OxaZunicEnquirer::init(const std::string& channelName)
{
    if (oxa_zunic_communication_channel_create(channelName.c_str(), &mChannel) != 0 || mChannel == nullptr ||
        !oxa_zunic_communication_channel_is_initialized(mChannel)) {
        return OxaResult::cObjectInvalid;
    }
    return readData();
}

OxaResult OxaZunicEnquirer::readData()
{
    auto copy = RegistryCopy::makePresent();
    std::byte* const base = registryBase(mChannel);
    auto* const mutex = addressIn<oxa_mutex>(base, cRegistryMutex);

    if (oxa_mutex_lock(mutex) != 0) {
        return OxaResult::cFailed;
    }
    std::memcpy(&copy->tables, base + cRegistryTables, sizeof copy->tables);
    oxa_mutex_unlock(mutex);

    decodeCopy();
    mCopy = std::move(copy);
    return OxaResult::cOk;
}

void OxaZunicEnquirer::decodeCopy()
{
    if (mCopy != nullptr) {
        decodeInterfaceTable(mCopy->tables, mInterfaces, mLinks);
        decodeCommunicatorTable(mCopy->tables, mCommunicators);
        mCopy.reset();
    }
}

OxaResult OxaZunicEnquirer::startEnquirer()
{
    if (mChannel == nullptr) {
        return OxaResult::cNotInitialized;
    }
    OxaResult result = createOutputDir();
    if (result == OxaResult::cOk) {
        result = writeReports();
    }
    mTextWriter.setMessageStorage(nullptr, nullptr);
    mTextWriter.setMemoryDispatcher(nullptr);
    return result;
}

OxaResult OxaZunicEnquirer::writeReports()
{
    mTextWriter.setMessageStorage(addressIn<oxa_zunic_message_storage>(registryBase(mChannel), cMessageStorage),
                                  readAt<oxa_zunic_message*>(mChannel, cHandleMessages));
    mTextWriter.setMemoryDispatcher(addressIn<oxa_zunic_memory_dispatcher_struct>(mChannel, cHandleMemoryDispatcher));
    mTextWriter.setHistory(mHistory);
    decodeCopy();

    OxaResult result = mTextWriter.writeData(mCommunicators, mInterfaces, mLinks);
    if (mDotFile) {
        result = mDotWriter.writeData(mCommunicators, mInterfaces, mLinks);
    }
    return result;
}

OxaResult OxaZunicEnquirer::createOutputDir()
{
    if (mkdir(mOutputDir.c_str(), 0777) == 0 || errno == EEXIST) {
        return OxaResult::cOk;
    }
    const OxaResult result(static_cast<std::uint32_t>(errno), OxaResult::cOriginErrno, OxaResult::cFailed.severity());
    std::cerr << "Error creating output directory (" << result.toString() << ")" << std::endl;
    return result;
}

void OxaZunicEnquirer::cleanup()
{
    if (mChannel != nullptr) {
        oxa_zunic_communication_channel_destroy(mChannel);
        mChannel = nullptr;
    }
}

OxaResult OxaZunicEnquirer::matchInterface(const std::string& interfaceName, const std::string& roleName,
                                           const std::string& domainName, bool useType, InterfaceInstanceType type,
                                           bool useState, OxaZunic::OxaZunicRegistrationState state)
{
    if (interfaceName.empty() && roleName.empty() && domainName.empty()) {
        return OxaResult::cObjectNotFound;
    }
    const InterfaceFilter filter{interfaceName, roleName, domainName, useType ? std::optional(type) : std::nullopt,
                                 useState ? std::optional(state) : std::nullopt};
    if (!mInterfaces.empty()) {
        decodeCopy(); // Whatever id an earlier reading had keeps the record that it had there.
    }
    const bool isFound = std::any_of(mInterfaces.begin(), mInterfaces.end(),
                                     [&](const auto& entry) { return filter.fits(entry.second); }) ||
                         (mCopy != nullptr && isAnyInterface(mCopy->tables, filter));
    return isFound ? OxaResult::cOk : OxaResult::cObjectNotFound;
}

} // namespace Oxa
