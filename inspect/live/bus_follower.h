#ifndef INSPECT_LIVE_BUS_FOLLOWER_H
#define INSPECT_LIVE_BUS_FOLLOWER_H

#include "inspect/bus/bus_state.h"
#include "inspect/live/look_memory.h"
#include "inspect/live/process_book.h"

#include <memory>
#include <string>

namespace Channel {
struct RegistryTables;
} // namespace Channel

namespace Inspect {

/// Looks at a channel again and again. As long as nothing changes, a look costs a copy of the registry's tables under
/// their mutex and a comparison of bytes. States have no messages; all else is as `takeState` has it, but that a dead
/// process keeps the name and the start time that it was seen with. There is one follower at a time: it has the
/// LookMemory.
class BusFollower
{
public:
    explicit BusFollower(std::string channel);
    ~BusFollower();

    /// Looks once more. True when `now` is another state than before the call, which is `before` then; always the first
    /// time. The states may still be equal in all that they show. Throws NoChannel, and both stay what they were: the
    /// channel is attached to for each look anew, and may come back.
    bool look();

    const BusState& before() const { return mBefore; }
    const BusState& now() const { return mNow; }

private:
    std::string mChannel;
    LookMemory mMemory;
    ProcessBook mProcesses;
    std::unique_ptr<Channel::RegistryTables> mTables; ///< that `now` was made from
    bool mHasLooked = false;
    BusState mBefore;
    BusState mNow;
};

} // namespace Inspect

#endif
