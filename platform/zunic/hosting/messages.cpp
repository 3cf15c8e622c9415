#include "failures.h"
#include "hosted_object.h"
#include "publishing.h"
#include "receiver_sets.h"

#include <algorithm>
#include <cerrno>

using ZunicFormat::MessageSlot;
using ZunicFormat::MessageStorage;

namespace ZunicHosting {
namespace {

std::uint16_t packStateAndSender(SlotState state, std::uint16_t senderId)
{
    return static_cast<std::uint16_t>(static_cast<unsigned>(state) | unsigned{senderId} << ZunicFormat::cSlotStateBits);
}

SlotState stateOf(MessageSlot& slot)
{
    return static_cast<SlotState>(load(slot.stateAndSender) & ZunicFormat::cSlotStateMask);
}

void checkSlot(const SlotDescription& slot)
{
    require(static_cast<std::uint16_t>(slot.state) <= ZunicFormat::cSlotStateMask, "a slot's state has 4 bits");
    require(slot.senderId <= ZunicFormat::cMaximumSenderId, "a sender id has 12 bits");
    require(slot.dataIndex <= ZunicFormat::cDataIndexMask, "a data index has 23 bits");
    require(std::ranges::all_of(slot.receivers, [](std::uint16_t id) { return id < cReceiverIds; }),
            "a receiver's id has to be below 1024");
}

void fillSlot(MessageSlot& slot, const SlotDescription& description)
{
    withdraw(slot.stateAndSender, packStateAndSender(SlotState::reserved, description.senderId));
    store(slot.writerCounter, description.writerCounter);
    store(slot.dataIndex, description.dataIndex);
    for (std::uint64_t& word : slot.receivers)
        store(word, 0);
    for (const std::uint16_t receiver : description.receivers) {
        addReceiver(slot.receivers, receiver);
    }
    store(slot.userDataSize, description.userDataSize);
    store(slot.external.memory_manager_index, description.external.memory_manager_index);
    store(slot.external.range_index, description.external.range_index);
    publish(slot.stateAndSender, packStateAndSender(description.state, description.senderId));
}

/// The first `count` free slots in ascending order.
std::vector<std::uint32_t> findFreeSlots(std::span<MessageSlot> slots, std::size_t count)
{
    std::vector<std::uint32_t> found;
    for (std::uint32_t index = 0; index < slots.size() && found.size() < count; ++index) {
        if (stateOf(slots[index]) == SlotState::free) {
            found.push_back(index);
        }
    }
    if (found.size() < count) {
        fail(ENOSPC, "too few free message slots");
    }
    return found;
}

/// Writes the chain from its end, so that no entry ever points to one that is not there yet.
void fillChain(std::span<MessageSlot> slots, std::span<const std::uint32_t> chain, std::uint16_t senderId)
{
    SlotDescription entry{.state = SlotState::data, .senderId = senderId};
    for (std::size_t i = chain.size(); i-- > 0;) {
        fillSlot(slots[chain[i]], entry);
        entry.dataIndex = chain[i];
    }
}

void freeSlot(MessageSlot& slot)
{
    withdraw(slot.stateAndSender, packStateAndSender(SlotState::free, 0));
}

/// Ends at the first index that leads nowhere; a chain that leads back meets a slot that is free by then.
void freeChain(std::span<MessageSlot> slots, std::uint32_t index)
{
    while (index < slots.size() && stateOf(slots[index]) == SlotState::data) {
        const std::uint32_t next = slots[index].dataIndex & ZunicFormat::cDataIndexMask;
        freeSlot(slots[index]);
        index = next;
    }
}

bool holdsMessage(MessageSlot& slot)
{
    const SlotState state = stateOf(slot);
    return state == SlotState::message || state == SlotState::written;
}

bool hasReceivers(const MessageSlot& slot)
{
    return std::ranges::any_of(slot.receivers, [](std::uint64_t word) { return word != 0; });
}

} // namespace

void LockedRegistry::writeSlot(std::uint32_t index, const SlotDescription& slot)
{
    require(index < mObject.slots().size(), "there is no such message slot");
    checkSlot(slot);
    fillSlot(mObject.slots()[index], slot);
}

std::uint32_t LockedRegistry::postMessage(SlotDescription message, std::uint32_t dataEntries)
{
    const std::span<MessageSlot> slots = mObject.slots();
    MessageStorage& storage = mObject.registry().messageStorage;
    checkSlot(message);
    const std::vector<std::uint32_t> indexes = findFreeSlots(slots, std::size_t{dataEntries} + 1);
    const auto chain = std::span(indexes).subspan(1);
    MessageSlot& slot = slots[indexes.front()];
    withdraw(slot.stateAndSender, packStateAndSender(SlotState::reserved, message.senderId));
    fillChain(slots, chain, message.senderId);

    if (!chain.empty()) {
        message.dataIndex = chain.front();
    }
    const bool becomesMessage = message.state != SlotState::written;
    message.state = SlotState::written;
    message.writerCounter = static_cast<std::uint16_t>(storage.writerCounter + 1);
    fillSlot(slot, message);
    if (becomesMessage) {
        publish(slot.stateAndSender, packStateAndSender(SlotState::message, message.senderId));
    }
    setStorageHeader(indexes.front(), message.writerCounter);
    return indexes.front();
}

bool LockedRegistry::finishReading(std::uint32_t index, std::uint16_t receiver)
{
    require(index < mObject.slots().size(), "there is no such message slot");
    require(receiver < cReceiverIds, "a receiver's id has to be below 1024");
    MessageSlot& slot = mObject.slots()[index];
    if (!holdsMessage(slot) || (receiverWord(slot.receivers, receiver) & receiverBit(receiver)) == 0) {
        fail(ENOENT, "slot " + std::to_string(index) + " holds no message to " + std::to_string(receiver));
    }
    removeReceiver(slot.receivers, receiver);
    if (hasReceivers(slot)) {
        return false;
    }
    releaseMessage(index);
    return true;
}

void LockedRegistry::releaseMessage(std::uint32_t index)
{
    const std::span<MessageSlot> slots = mObject.slots();
    require(index < slots.size(), "there is no such message slot");
    MessageSlot& slot = slots[index];
    if (!holdsMessage(slot)) {
        fail(ENOENT, "slot " + std::to_string(index) + " holds no message");
    }

    const std::uint32_t data = slot.dataIndex & ZunicFormat::cDataIndexMask;
    const oxa_zunic_range_location external = slot.external;
    freeSlot(slot);
    if (data == cExternalDataEntry) {
        mObject.freeBlock(external);
    } else {
        freeChain(slots, data);
    }
}

std::uint16_t LockedRegistry::writerCounter() const
{
    return load(mObject.registry().messageStorage.writerCounter);
}

void LockedRegistry::setStorageHeader(std::uint32_t lastWrittenIndex, std::uint16_t writerCounter)
{
    MessageStorage& storage = mObject.registry().messageStorage;
    publish(storage.lastWrittenIndex, lastWrittenIndex);
    publish(storage.writerCounter, writerCounter);
}

} // namespace ZunicHosting
