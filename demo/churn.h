#ifndef ZUNIC_DEMO_CHURN_H
#define ZUNIC_DEMO_CHURN_H

#include "zunic_hosting/hosted_channel.h"

#include <sys/types.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>

namespace ZunicDemo {

/// Keeps changing a channel in a way that shows whether somebody saw half of a change.
///
/// Each round of a process has a sequence number, which counts up from 1. Under one lock it adds a pair of interfaces,
/// a skeleton and a stub, and removes the pair that is cLivingPairs rounds old. Hence in every snapshot of a channel:
///
/// - Both interfaces of a pair are there, or none. Their names are churnName(pid, sequence), their roles
///   churnRole(sequence), their versions churnVersion(sequence), their domains cChurnDomain; pid is the process that
///   owns their communicator.
/// - The receiver set of the skeleton holds exactly the stub, and that of the stub exactly the skeleton.
/// - The sequence numbers of the pairs of one process follow each other without a gap, cLivingPairs at most.
///
/// With the pair comes a message from the skeleton to the stub, if there are slots for it. Its user data size is the
/// lower 32 bits of the sequence number, and sequence % 3 data entries follow it.
///
/// A round that finds no room for a pair adds none, and its number goes to the next round. All that is taken back
/// is the process's own. A process that is killed in the middle of a round leaves behind what it had done so far: of
/// its last pair or its oldest one an interface may then be missing. Every interface that is there is whole.
class Churn
{
public:
    static constexpr std::size_t cLivingPairs = 4;
    static constexpr const char* cChurnDomain = "churn";

    /// Borrows the channel. `communicatorId` owns the interfaces: one of this process's own.
    Churn(ZunicHosting::HostedChannel& channel, std::uint16_t communicatorId);

    /// Throws std::system_error: ETIMEDOUT when the registry mutex is not to be had.
    void runRound();

private:
    struct Pair
    {
        std::uint16_t skeleton = 0;
        std::uint16_t stub = 0;
        std::optional<std::uint32_t> message;
    };

    std::optional<Pair> addPair(ZunicHosting::LockedRegistry& registry);
    void removeOldestPair(ZunicHosting::LockedRegistry& registry);
    ZunicHosting::InterfaceDescription describe(ZunicHosting::InstanceType type) const;

    ZunicHosting::HostedChannel* mChannel;
    std::uint16_t mCommunicatorId;
    std::uint64_t mSequence = 1;
    std::deque<Pair> mPairs;
};

inline std::string churnName(pid_t process, std::uint64_t sequence)
{
    return "Churn/" + std::to_string(process) + "/" + std::to_string(sequence);
}

inline std::string churnRole(std::uint64_t sequence)
{
    return std::to_string(sequence);
}

/// The lower 48 bits of the sequence number, the highest first.
inline std::array<std::uint16_t, 3> churnVersion(std::uint64_t sequence)
{
    return {static_cast<std::uint16_t>(sequence >> 32), static_cast<std::uint16_t>(sequence >> 16),
            static_cast<std::uint16_t>(sequence)};
}

/// Runs rounds until the process is ended, `rate` a second or, when it is 0, as fast as it can.
[[noreturn]] void churnForever(Churn& churn, unsigned rate);

} // namespace ZunicDemo

#endif
