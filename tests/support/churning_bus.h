#ifndef TESTS_SUPPORT_CHURNING_BUS_H
#define TESTS_SUPPORT_CHURNING_BUS_H

#include "support/forked_child.h"
#include "support/temporary_directory.h"

#include "zunic_hosting/channel_format.h"
#include "zunic_hosting/hosted_channel.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <vector>

namespace TestSupport {

/// A channel that this process hosts, with forks of this process on it that churn as fast as they can.
class ChurningBus
{
public:
    /// Returns when each of the processes is in the registry. One test has one bus at a time.
    explicit ChurningBus(std::size_t processes);
    ~ChurningBus();

    ChurningBus(const ChurningBus&) = delete;
    ChurningBus& operator=(const ChurningBus&) = delete;

    const std::string& name() const { return mChannel.name(); }
    std::set<pid_t> processes() const;

    /// One more process that churns, which is not among `processes`.
    ForkedChild startVictim();

    /// Kills the processes, which stay zombies; returns when all have ended.
    void end() const;

    /// The process that holds the registry mutex at this moment; 0: none.
    pid_t holder() const;

    /// Waits until each process has gone through another round; false when they do not, or failed in some round.
    bool goesOn();

    /// The longest that a round of any of the processes took, and how many they went through.
    std::uint64_t longestRoundInMicroseconds() const { return mShared->longestRound; }
    std::uint64_t roundsDone() const;

private:
    static constexpr std::size_t cMaximumProcesses = 8;

    struct Shared
    {
        std::atomic<std::uint64_t> rounds[cMaximumProcesses + 1];
        std::atomic<std::uint64_t> longestRound;
        std::atomic<std::uint64_t> failures;
    };

    int churn(std::atomic<std::uint64_t>& rounds);

    ZunicHosting::HostedChannel mChannel;
    Shared* mShared;
    std::vector<ForkedChild> mProcesses;
};

/// What the enquirer reports about a channel; the work is done in this process.
class InProcessEnquirer
{
public:
    /// A snapshot and its text report. Fails the running test when the enquirer fails.
    std::string report(const std::string& channelName) const;

private:
    TemporaryDirectory mDirectory;
};

} // namespace TestSupport

#endif
