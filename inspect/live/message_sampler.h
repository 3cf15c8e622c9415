#ifndef INSPECT_LIVE_MESSAGE_SAMPLER_H
#define INSPECT_LIVE_MESSAGE_SAMPLER_H

#include "channel/message_slots.h"
#include "inspect/live/attachment.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Inspect {

/// A message that a sample found in a slot, and the sample before did not.
struct NewMessage
{
    std::uint32_t mSlot = 0;
    std::uint16_t mSenderId = 0; ///< 1 to 1023
    std::uint16_t mWriterCounter = 0;
    std::uint32_t mUserDataSize = 0; ///< as the slot has it
    oxa_zunic_receiver_bitfield_struct mReceivers{};
};

/// What one pass over the message slots saw. A message is there while its slot is in the state "message": before that,
/// its counter and its receivers need not be its own yet.
struct Sample
{
    using Time = std::chrono::steady_clock::time_point;

    Time mBegin;
    Time mEnd;
    std::uint16_t mCounterBefore = 0; ///< of the storage, when the pass began
    std::uint16_t mCounterAfter = 0;  ///< when it had ended
    std::uint32_t mSlots = 0;         ///< size of the storage
    std::uint32_t mInUse = 0;         ///< slots that are not free
    std::vector<std::uint32_t> mLeft; ///< slots that no longer have the message that the sample before saw
    std::vector<NewMessage> mCame;    ///< in ascending order of slots; a slot may be among both
};

/// Reads the message slots of a channel again and again, without its mutex.
class MessageSampler
{
public:
    enum class Found : std::uint8_t
    {
        eSame,
        eAnother, ///< the channel was hosted again: its samples start over
        eNone     ///< no usable channel: samples go on with what was there
    };

    /// Throws NoChannel.
    explicit MessageSampler(std::string channel);

    /// Overwrites `sample`, whose memory is used again. False: the channel was truncated, and nothing of the sample is
    /// of use until it is hosted again.
    bool take(Sample& sample);

    /// Attaches again, and stays with what it finds.
    Found attachAgain();

private:
    void attachTo(Attachment channel);
    void readSlot(std::uint32_t index, const Channel::SlotKey& key, Sample& sample);

    std::string mName;
    Attachment mChannel;
    bool mIsTruncated = false;
    std::string mObject; ///< the channel's shared memory, as the kernel identifies it
    std::optional<Channel::MessageSlots> mSlots;
    std::vector<Channel::SlotKey> mSeen; ///< the message that the last sample saw in each slot; free: none
};

} // namespace Inspect

#endif
