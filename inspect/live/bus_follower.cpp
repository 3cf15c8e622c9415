#include "inspect/live/bus_follower.h"

#include <utility>

namespace Inspect {

BusFollower::BusFollower(std::string channel, Past past) : mChannel(std::move(channel))
{
    if (past == Past::eRemembered) {
        mRemembered.emplace();
    }
}

void BusFollower::look(const Wanted& wanted)
{
    mMemory.release();
    mBefore = std::exchange(mNow, nullptr);
    try {
        mNow = mRemembered ? takeStateAgain(mChannel, wanted, *mRemembered)
                           : std::make_shared<const BusState>(takeState(mChannel, wanted));
        mTrouble.reset();
    } catch (const NoChannel& trouble) {
        mTrouble = trouble;
        if (mRemembered) {
            mRemembered->mTables.reset();
        }
    }
}

} // namespace Inspect
