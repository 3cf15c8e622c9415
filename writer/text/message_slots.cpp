#include "writer/text/message_slots.h"

#include "writer/text/readable_memory.h"

#include <algorithm>
#include <iterator>

namespace Oxa {

using ChannelLayout::loadShared;

MessageSlots::MessageSlots(const oxa_zunic_message_storage& storage, const oxa_zunic_message* slots)
    : mSlots(slots),
      mSize(loadShared(storage.storage_size)),
      mReadable(static_cast<std::uint32_t>(readableBytes(slots, mSize * sizeof *slots) / sizeof *slots))
{}

SlotHead MessageSlots::head(std::uint32_t index) const
{
    if (index >= mReadable) {
        return {};
    }
    const std::uint16_t word = loadShared(mSlots[index].state_and_sender);
    return {static_cast<std::uint8_t>(word & 0xF), static_cast<std::uint16_t>(word >> 4)};
}

std::uint16_t MessageSlots::writerCounter(std::uint32_t index) const
{
    return loadShared(mSlots[index].writer_counter);
}

std::uint32_t MessageSlots::dataIndex(std::uint32_t index) const
{
    return loadShared(mSlots[index].data_index) & ChannelLayout::cDataIndexMask;
}

oxa_zunic_receiver_bitfield_struct MessageSlots::receivers(std::uint32_t index) const
{
    oxa_zunic_receiver_bitfield_struct copy;
    const auto& shared = mSlots[index].receivers.words;
    std::transform(std::begin(shared), std::end(shared), copy.words, loadShared<std::uint64_t>);
    return copy;
}

std::uint32_t MessageSlots::userDataSize(std::uint32_t index) const
{
    return loadShared(mSlots[index].user_data_size);
}

std::uint16_t MessageSlots::externalManagerIndex(std::uint32_t index) const
{
    return loadShared(mSlots[index].memory_manager_index);
}

std::uint16_t MessageSlots::externalRangeIndex(std::uint32_t index) const
{
    return loadShared(mSlots[index].range_index);
}

} // namespace Oxa
