#include "enquirer/oxa_zunic_enquirer.h"

#include "channel/channel_layout.h"
#include "channel/registry_snapshot.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <iostream>
#include <sys/file.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace Oxa {

namespace {

/// Keeps a second report out of the directory, whose scratch file it would share, until this one is done. Waits no
/// longer than it takes to write a large report many times over, and goes on where directories cannot be locked.
class ReportLock
{
public:
    explicit ReportLock(const std::string& directory) : mDescriptor(open(directory.c_str(), O_DIRECTORY | O_CLOEXEC))
    {
        constexpr std::chrono::seconds cLongestWait{60};
        constexpr std::chrono::milliseconds cPause{5};
        const auto deadline = std::chrono::steady_clock::now() + cLongestWait;
        while (flock(mDescriptor, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK &&
               std::chrono::steady_clock::now() < deadline) {
            std::this_thread::sleep_for(cPause);
        }
    }
    ~ReportLock() { close(mDescriptor); }

    ReportLock(const ReportLock&) = delete;
    ReportLock& operator=(const ReportLock&) = delete;

private:
    int mDescriptor;
};

} // namespace

OxaZunicEnquirer::OxaZunicEnquirer(const std::string& outputDirectory, bool history, bool dotFile)
    : mOutputDir(outputDirectory), mHistory(history), mDotFile(dotFile), mTextWriter(mOutputDir), mDotWriter(mOutputDir)
{}

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
    const Channel::RegistryCopy copy = Channel::copyRegistry(mChannel);
    if (copy == nullptr) {
        return OxaResult::cFailed;
    }
    Channel::decodeRegistry(*copy, mInterfaces, mLinks, mCommunicators);
    return OxaResult::cOk;
}

OxaResult OxaZunicEnquirer::startEnquirer()
{
    if (mChannel == nullptr) {
        return OxaResult::cNotInitialized;
    }
    OxaResult result = createOutputDir();
    if (result == OxaResult::cOk) {
        const ReportLock lock(mOutputDir);
        mTextWriter.setMessageStorage(Channel::messageStorage(mChannel), Channel::messages(mChannel));
        mTextWriter.setMemoryDispatcher(Channel::memoryDispatcher(mChannel));
        mTextWriter.setHistory(mHistory);
        result = mTextWriter.writeData(mCommunicators, mInterfaces, mLinks);
        if (mDotFile) {
            result = mDotWriter.writeData(mCommunicators, mInterfaces, mLinks);
        }
    }
    mTextWriter.setMessageStorage(nullptr, nullptr);
    mTextWriter.setMemoryDispatcher(nullptr);
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
    const auto isNoneOrEqual = [](const std::string& filter, const std::string& name) {
        return filter.empty() || filter == name;
    };
    const bool isFound = std::any_of(mInterfaces.begin(), mInterfaces.end(), [&](const auto& entry) {
        const auto& [id, info] = entry;
        return isNoneOrEqual(interfaceName, info.mUuid.mInterfaceName) &&
               isNoneOrEqual(roleName, info.mUuid.mRoleName) && isNoneOrEqual(domainName, info.mUuid.mDomainName) &&
               (!useType || info.mUuid.mType == type) && (!useState || info.mRegistrationState == state);
    });
    return isFound ? OxaResult::cOk : OxaResult::cObjectNotFound;
}

} // namespace Oxa
