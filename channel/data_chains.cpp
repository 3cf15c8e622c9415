#include "channel/data_chains.h"

namespace Channel {

DataChains::DataChains(const MessageSlots& slots)
    : mSlots(slots), mVisitors(slots.readable()), mEntriesLeft(cEntriesForEachSlot * slots.readable())
{}

const DataChain& DataChains::follow(std::uint32_t message, std::uint32_t first)
{
    mChain.mEntries.clear();
    mChain.mNextIndex = first;
    const bool isCut = mEntriesLeft == 0;
    do {
        mChain.mEnd = visitNext(message + 1);
    } while (mChain.mEnd == ChainEnd::eWhole && mChain.mNextIndex != cNoDataEntry && !isCut);
    if (mChain.mEnd == ChainEnd::eWhole && mChain.mNextIndex != cNoDataEntry) {
        mChain.mEnd = ChainEnd::eCut;
    }
    return mChain;
}

ChainEnd DataChains::visitNext(std::uint32_t visitor)
{
    const std::uint32_t index = mChain.mNextIndex;
    if (index >= mSlots.size()) {
        return ChainEnd::eInvalidIndex;
    }
    const SlotHead head = mSlots.head(index);
    if (head.mState != eSlotStateData) {
        return ChainEnd::eNotData;
    }
    if (mVisitors[index] == visitor) {
        return ChainEnd::eLoop;
    }
    mVisitors[index] = visitor;
    mChain.mEntries.push_back({index, head.mSenderId});
    mChain.mNextIndex = mSlots.dataIndex(index);
    mEntriesLeft -= mEntriesLeft > 0 ? 1 : 0;
    return ChainEnd::eWhole;
}

} // namespace Channel
