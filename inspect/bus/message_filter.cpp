#include "inspect/bus/message_filter.h"

#include <algorithm>
#include <charconv>

namespace Inspect {

namespace {

std::optional<std::uint16_t> idIn(const std::string& word)
{
    std::uint16_t id = 0;
    const char* const end = word.data() + word.size();
    const auto [stop, error] = std::from_chars(word.data(), end, id);
    return error == std::errc{} && stop == end ? std::optional(id) : std::nullopt;
}

} // namespace

bool isCalled(const Interface& interface, const std::string& word)
{
    return word == interface.mName || idIn(word) == interface.mId;
}

MessageFilter::MessageFilter(const MessageWords& words, const BusState& state)
    : mReceivers(idsOf(words.mReceiver, state)), mSenders(idsOf(words.mSender, state))
{}

MessageFilter::Ids MessageFilter::idsOf(const std::optional<std::string>& word, const BusState& state)
{
    if (!word) {
        return {};
    }
    std::set<std::uint16_t> ids;
    if (const auto id = idIn(*word)) {
        ids.insert(*id);
    }
    for (const Interface& interface : state.mInterfaces) {
        if (interface.mName == *word) {
            ids.insert(interface.mId);
        }
    }
    return ids;
}

bool MessageFilter::fits(const Slot& slot) const
{
    const auto isReceiver = [&](std::uint16_t id) { return mReceivers->contains(id); };
    return (!mSenders || mSenders->contains(slot.mSenderId)) &&
           (!mReceivers || std::any_of(slot.mReceivers.begin(), slot.mReceivers.end(), isReceiver));
}

} // namespace Inspect
