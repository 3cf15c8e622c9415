#ifndef TESTS_SUPPORT_LIVE_BUS_H
#define TESTS_SUPPORT_LIVE_BUS_H

#include "support/program.h"

#include <string>

namespace TestSupport {

/// A channel name that no other test uses.
std::string uniqueChannelName();

/// The children of a process by the names of their executables, which differ.
std::map<std::string, pid_t> childrenOf(pid_t process);

/// A demo bus with its processes, up from construction to destruction.
class LiveBus
{
public:
    /// Fails the running test when the bus does not come up.
    explicit LiveBus(const std::string& scenarioFile);
    ~LiveBus();

    const std::string& channelName() const { return mChannelName; }

    std::map<std::string, pid_t> processes() const { return childrenOf(mHost.processId()); }

private:
    std::string mChannelName = uniqueChannelName();
    Program mHost;
};

} // namespace TestSupport

#endif
