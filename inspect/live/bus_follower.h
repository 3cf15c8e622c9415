#ifndef INSPECT_LIVE_BUS_FOLLOWER_H
#define INSPECT_LIVE_BUS_FOLLOWER_H

#include "channel/snapshot_memory.h"
#include "inspect/live/take_state.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace Inspect {

/// Looks at a channel again and again, and keeps what its last two looks saw. It attaches for each look: the channel
/// may go away and come back. There is one follower at a time: it has the SnapshotMemory.
class BusFollower
{
public:
    enum class Past : std::uint8_t
    {
        eForgotten, ///< each look takes a state as `takeState` does
        /// Looks take states as `takeStateAgain` does: all have to want the same, and no messages. A channel that comes
        /// back has a new state.
        eRemembered
    };

    explicit BusFollower(std::string channel, Past past = Past::eForgotten);

    void look(const Wanted& wanted);

    /// The last look; null when there was no usable channel.
    const std::shared_ptr<const BusState>& now() const { return mNow; }
    /// The look before it, the same object if nothing has changed; null when there was no usable channel, or no look.
    const std::shared_ptr<const BusState>& before() const { return mBefore; }
    /// Why the last look found no usable channel; none when it found one.
    const std::optional<NoChannel>& trouble() const { return mTrouble; }

private:
    std::string mChannel;
    Channel::SnapshotMemory mMemory;
    std::optional<Remembered> mRemembered;
    std::shared_ptr<const BusState> mNow;
    std::shared_ptr<const BusState> mBefore;
    std::optional<NoChannel> mTrouble;
};

} // namespace Inspect

#endif
