#ifndef TESTS_SUPPORT_LIVE_BUS_H
#define TESTS_SUPPORT_LIVE_BUS_H

#include "support/program.h"

#include <optional>
#include <string>
#include <vector>

namespace TestSupport {

/// A channel name that no other test uses.
std::string uniqueChannelName();

/// A demo bus with its processes, up from construction to destruction.
class LiveBus
{
public:
    /// Fails the running test when the bus does not come up.
    explicit LiveBus(const std::string& scenarioFile);
    ~LiveBus();

    const std::string& channelName() const { return mChannelName; }

    /// The process ids of its processes, by the name of their executable.
    std::map<std::string, pid_t> processes() const;

private:
    std::string mChannelName = uniqueChannelName();
    Program mHost;
};

} // namespace TestSupport

#endif
