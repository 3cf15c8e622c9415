#include "channel/message_slots.h"

#include <algorithm>
#include <bit>
#include <iterator>
#include <sys/mman.h>
#include <unistd.h>

namespace Channel {

namespace {

/// Brings the pages of these bytes into their places. False when one of them cannot be read.
bool isReadable(std::uintptr_t begin, std::size_t size)
{
    const std::size_t intoPage = begin % static_cast<std::size_t>(getpagesize());
    // NOLINTNEXTLINE(performance-no-int-to-ptr): reckoned in numbers, as there may be nothing to point to.
    return madvise(reinterpret_cast<void*>(begin - intoPage), intoPage + size, MADV_POPULATE_READ) == 0;
}

/// How many of the slots, from the first, can be read without a fault; all where the kernel does not answer.
std::uint32_t countReadable(const oxa_zunic_message* slots, std::uint32_t count)
{
    const auto begin = reinterpret_cast<std::uintptr_t>(slots);
    if (count == 0 || isReadable(begin, count * sizeof *slots) ||
        !isReadable(reinterpret_cast<std::uintptr_t>(&count), 1)) {
        return count;
    }
    std::uint32_t readable = 0;
    for (std::uint32_t tooMany = count; tooMany - readable > 1;) {
        const std::uint32_t middle = readable + (tooMany - readable) / 2;
        (isReadable(begin, middle * sizeof *slots) ? readable : tooMany) = middle;
    }
    return readable;
}

SlotState stateOf(unsigned code, std::uint16_t senderId)
{
    switch (code) {
    case eSlotStateReserved:
    case eSlotStateWritten:
    case eSlotStateData:
        return static_cast<SlotState>(code);
    case eSlotStateMessage:
        return senderId >= cFirstSenderId && senderId <= cLastSenderId ? eSlotStateMessage : eSlotStateFree;
    default:
        return eSlotStateFree;
    }
}

} // namespace

MessageSlots::MessageSlots(const oxa_zunic_message_storage& storage, const oxa_zunic_message* slots)
    : mSlots(slots), mSize(loadShared(storage.storage_size)), mReadable(countReadable(slots, mSize))
{}

SlotHead MessageSlots::head(std::uint32_t index) const
{
    if (index >= mReadable) {
        return {};
    }
    const std::uint16_t word = loadPublished(mSlots[index].state_and_sender);
    const auto senderId = static_cast<std::uint16_t>(word >> 4);
    return {stateOf(word & 0xF, senderId), senderId};
}

SlotFields MessageSlots::fields(std::uint32_t index) const
{
    const oxa_zunic_message& slot = mSlots[index];
    SlotFields fields{{},
                      loadShared(slot.writer_counter),
                      dataIndex(index),
                      loadShared(slot.user_data_size),
                      {loadShared(slot.memory_manager_index), loadShared(slot.range_index)}};
    const auto& words = slot.receivers.words;
    std::transform(std::begin(words), std::end(words), fields.mReceivers.words, loadShared<std::uint64_t>);
    return fields;
}

SlotKey MessageSlots::key(std::uint32_t index) const
{
    using Word = std::uint32_t __attribute__((may_alias));
    const Word word = __atomic_load_n(reinterpret_cast<const Word*>(&mSlots[index]), __ATOMIC_ACQUIRE);
    struct Halves
    {
        std::uint16_t mStateAndSender;
        std::uint16_t mWriterCounter;
    };
    const auto [stateAndSender, writerCounter] = std::bit_cast<Halves>(word);
    const auto senderId = static_cast<std::uint16_t>(stateAndSender >> 4);
    return {stateOf(stateAndSender & 0xF, senderId), senderId, writerCounter};
}

std::optional<SlotFields> MessageSlots::fieldsOf(std::uint32_t index, const SlotKey& key) const
{
    const SlotFields read = fields(index);
    __atomic_thread_fence(__ATOMIC_ACQUIRE); // The key is loaded again after the fields.
    return this->key(index) == key ? std::optional(read) : std::nullopt;
}

std::uint32_t MessageSlots::dataIndex(std::uint32_t index) const
{
    return loadShared(mSlots[index].data_index) & cDataIndexMask;
}

} // namespace Channel
