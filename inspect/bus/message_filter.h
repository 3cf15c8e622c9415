#ifndef INSPECT_BUS_MESSAGE_FILTER_H
#define INSPECT_BUS_MESSAGE_FILTER_H

#include "inspect/bus/bus_state.h"

#include <optional>
#include <set>
#include <string>

namespace Inspect {

/// Whether the word is the name of the interface or, as a number, its id.
bool isCalled(const Interface& interface, const std::string& word);

/// Which messages are asked for, by names or ids of interfaces; an id need not be in use. What is not given is not
/// compared.
struct MessageWords
{
    std::optional<std::string> mReceiver;
    std::optional<std::string> mSender;
};

class MessageFilter
{
public:
    MessageFilter(const MessageWords& words, const BusState& state);

    bool fits(const Slot& slot) const;

private:
    using Ids = std::optional<std::set<std::uint16_t>>; ///< none: any

    static Ids idsOf(const std::optional<std::string>& word, const BusState& state);

    Ids mReceivers;
    Ids mSenders;
};

} // namespace Inspect

#endif
