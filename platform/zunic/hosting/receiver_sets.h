#ifndef ZUNIC_HOSTING_RECEIVER_SETS_H
#define ZUNIC_HOSTING_RECEIVER_SETS_H

#include "zunic_hosting/channel_format.h"

#include <atomic>
#include <cstdint>

namespace ZunicHosting {

constexpr std::uint16_t cReceiverIds = ZunicFormat::cReceiverWords * ZunicFormat::cBitsPerReceiverWord;

inline std::atomic_ref<std::uint64_t> receiverWord(ZunicFormat::ReceiverSet& set, std::uint16_t id)
{
    return std::atomic_ref(set[id / ZunicFormat::cBitsPerReceiverWord]);
}

inline std::uint64_t receiverBit(std::uint16_t id)
{
    return std::uint64_t{1} << (id % ZunicFormat::cBitsPerReceiverWord);
}

inline void addReceiver(ZunicFormat::ReceiverSet& set, std::uint16_t id)
{
    receiverWord(set, id).fetch_or(receiverBit(id), std::memory_order_relaxed);
}

inline void removeReceiver(ZunicFormat::ReceiverSet& set, std::uint16_t id)
{
    receiverWord(set, id).fetch_and(~receiverBit(id), std::memory_order_relaxed);
}

} // namespace ZunicHosting

#endif
