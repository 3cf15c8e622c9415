#ifndef INSPECT_BUS_WORDS_H
#define INSPECT_BUS_WORDS_H

#include "inspect/bus/bus_state.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

// The bus's numbers as words, the same in tables, JSON and options. A number that means nothing stays a number.

namespace Inspect {

std::string typeWord(std::uint32_t type);
std::string stateWord(std::uint32_t state);
std::string slotStateWord(Channel::SlotState state);
std::string chainEndWord(Channel::ChainEnd end);
std::string livingWord(Living living);
std::string versionWord(const Oxa::Version& version);

/// None when there is no such word.
std::optional<std::uint32_t> typeOf(std::string_view word);
std::optional<std::uint32_t> stateOf(std::string_view word);

} // namespace Inspect

#endif
