#ifndef WRITER_TEXT_MESSAGE_SLOTS_H
#define WRITER_TEXT_MESSAGE_SLOTS_H

#include "enquirer/channel_layout.h"

#include <cstdint>

namespace Oxa {

/// Ends the account of a slot: two empty lines, a rule and an empty line.
constexpr auto cSlotSeparator = "\n\n----------------------------------------------------------------------------\n\n";

/// State and sender of a message slot, which share one word.
struct SlotHead
{
    std::uint8_t state;     ///< 0 to 15, see ChannelLayout::SlotState
    std::uint16_t senderId; ///< 0 to 4095
};

/// The message slots of a channel, read in place while other processes may be changing them: each call loads the
/// fields that it returns anew, and each of them exactly once.
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
    std::uint16_t writerCounter(std::uint32_t index) const;
    std::uint32_t dataIndex(std::uint32_t index) const;
    oxa_zunic_receiver_bitfield_struct receivers(std::uint32_t index) const;
    std::uint32_t userDataSize(std::uint32_t index) const;
    std::uint16_t externalManagerIndex(std::uint32_t index) const;
    std::uint16_t externalRangeIndex(std::uint32_t index) const;

private:
    const oxa_zunic_message* mSlots;
    std::uint32_t mSize;
    std::uint32_t mReadable;
};

} // namespace Oxa

#endif
