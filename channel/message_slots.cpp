#include "channel/message_slots.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <iterator>
#include <sys/uio.h>
#include <unistd.h>

namespace Channel {

namespace {

/// Pages asked for in one call, the most that the kernel takes.
constexpr std::size_t cBatch = 1024;

/// Copies one byte of each of `count` pages, and returns how many of them, from the first, could be read.
std::size_t readablePages(std::uintptr_t firstPage, std::size_t count, std::size_t pageSize)
{
    std::array<char, cBatch> bytes;
    std::array<iovec, cBatch> pages;
    for (std::size_t i = 0; i < count; ++i) {
        // NOLINTNEXTLINE(performance-no-int-to-ptr): reckoned in numbers, as there may be nothing to point to.
        pages[i] = {reinterpret_cast<void*>(firstPage + i * pageSize), 1};
    }
    const iovec target{bytes.data(), count};
    const ssize_t copied = process_vm_readv(getpid(), &target, 1, pages.data(), count, 0);
    if (copied < 0) {
        return errno == EFAULT ? 0 : count;
    }
    return static_cast<std::size_t>(copied);
}

/// How many of the `size` bytes from `start` on can be read without a fault. The kernel is asked, page by page; where
/// it does not offer that service, the answer is `size`.
std::size_t readableBytes(const void* start, std::size_t size)
{
    const auto pageSize = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    const auto begin = reinterpret_cast<std::uintptr_t>(start);
    const std::uintptr_t firstPage = begin - begin % pageSize;
    const std::size_t pageCount = (begin - firstPage + size + pageSize - 1) / pageSize;

    std::size_t readable = 0;
    while (readable < pageCount) {
        const std::size_t asked = std::min(cBatch, pageCount - readable);
        const std::size_t answered = readablePages(firstPage + readable * pageSize, asked, pageSize);
        readable += answered;
        if (answered < asked) {
            break;
        }
    }
    const std::size_t end = readable * pageSize;
    const std::size_t offset = begin - firstPage;
    return end <= offset ? 0 : std::min(size, end - offset);
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

std::uint32_t MessageSlots::dataIndex(std::uint32_t index) const
{
    return loadShared(mSlots[index].data_index) & cDataIndexMask;
}

} // namespace Channel
