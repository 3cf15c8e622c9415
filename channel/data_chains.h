#ifndef CHANNEL_DATA_CHAINS_H
#define CHANNEL_DATA_CHAINS_H

#include "channel/message_slots.h"

#include <cstdint>
#include <vector>

namespace Channel {

enum class ChainEnd : std::uint8_t
{
    eWhole,        ///< the last entry names no further one
    eInvalidIndex, ///< the next one would lie behind the storage
    eNotData,      ///< the next slot is in another state than DATA
    eLoop,         ///< the next entry is one of the chain's own
    eCut           ///< there were too many entries in all the chains before
};

struct DataEntry
{
    std::uint32_t mIndex;
    std::uint16_t mSenderId;
    bool operator==(const DataEntry& other) const = default;
};

/// The data entries of one message.
struct DataChain
{
    std::vector<DataEntry> mEntries;
    ChainEnd mEnd = ChainEnd::eWhole;
    std::uint32_t mNextIndex = 0; ///< where the chain would have gone on, unless it is whole
    bool operator==(const DataChain& other) const = default;
};

/// Follows the chains of a channel's messages, each entry of a chain once. An honest storage has no more entries in all
/// chains than it has slots: after sixteen times as many, each further chain is cut after its first entry.
class DataChains
{
public:
    /// `slots` has to outlive this object.
    explicit DataChains(const MessageSlots& slots);

    /// The chain of the message in slot `message` (below `slots.readable()`), which begins at slot `first`. Valid until
    /// the next call.
    const DataChain& follow(std::uint32_t message, std::uint32_t first);

private:
    static constexpr std::uint64_t cEntriesForEachSlot = 16;

    /// Adds the slot that comes next, unless it ends the chain.
    ChainEnd visitNext(std::uint32_t visitor);

    const MessageSlots& mSlots;
    std::vector<std::uint32_t> mVisitors; ///< by slot: one more than the message whose chain visited it last
    std::uint64_t mEntriesLeft;
    DataChain mChain;
};

} // namespace Channel

#endif
