#ifndef CHANNEL_MESSAGE_SLOTS_H
#define CHANNEL_MESSAGE_SLOTS_H

#include "channel/channel_layout.h"

#include <cstdint>
#include <optional>

namespace Channel {

/// State and sender of a message slot, which share one word.
struct SlotHead
{
    SlotState mState = eSlotStateFree;
    std::uint16_t mSenderId = 0; ///< 0 to 4095
};

/// What tells one message from another, all of one moment.
struct SlotKey
{
    SlotState mState = eSlotStateFree;
    std::uint16_t mSenderId = 0; ///< 0 to 4095
    std::uint16_t mWriterCounter = 0;

    bool operator==(const SlotKey& other) const = default;
};

/// What a slot says beside its state and its sender.
struct SlotFields
{
    oxa_zunic_receiver_bitfield_struct mReceivers;
    std::uint16_t mWriterCounter;
    std::uint32_t mDataIndex;    ///< of the first data entry; cNoDataEntry and cExternalDataEntry name none
    std::uint32_t mUserDataSize; ///< bits a second
    OxaZunic::OxaZunicRangeLocation mExternal; ///< where an external data entry lies
};

/// The message slots of a channel, read in place while other processes may be changing them: each call loads the
/// fields that it returns again, and each of them exactly once.
class MessageSlots
{
public:
    MessageSlots(const oxa_zunic_message_storage& storage, const oxa_zunic_message* slots);

    /// The number of slots that the storage header gave at construction.
    std::uint32_t size() const { return mSize; }

    /// How many of these, from the first, are there to be read; less than `size` only when the header is damaged.
    /// A slot behind them is free; the functions after `head` take indices below this.
    std::uint32_t readable() const { return mReadable; }

    SlotHead head(std::uint32_t index) const;
    SlotFields fields(std::uint32_t index) const;
    /// In one load; what is loaded after it is not older.
    SlotKey key(std::uint32_t index) const;
    /// The fields of the message with that key; none when the slot has another key by now: they may be of both.
    std::optional<SlotFields> fieldsOf(std::uint32_t index, const SlotKey& key) const;
    std::uint32_t dataIndex(std::uint32_t index) const; ///< of a data entry: the slot of the next one

private:
    const oxa_zunic_message* mSlots;
    std::uint32_t mSize;
    std::uint32_t mReadable;
};

} // namespace Channel

#endif
