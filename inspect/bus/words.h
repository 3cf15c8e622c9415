#ifndef INSPECT_BUS_WORDS_H
#define INSPECT_BUS_WORDS_H

#include "inspect/bus/bus_state.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

// The bus's numbers as words, the same in tables, JSON and options. A number without a meaning stays a number.

namespace Inspect {

struct Word
{
    std::uint32_t mNumber;
    const char* mText;
};

using Words = std::span<const Word>;

inline constexpr Word cTypeWordList[]{
    {Oxa::eInterfaceInstanceTypeUndefined, "undefined"},
    {Oxa::eInterfaceInstanceTypeStub, "stub"},
    {Oxa::eInterfaceInstanceTypeSkeleton, "skeleton"},
};
inline constexpr Words cTypeWords = cTypeWordList;

inline constexpr Word cStateWordList[]{
    {oxa_zunic_registration_state_invalid, "invalid"},
    {oxa_zunic_registration_state_registered, "registered"},
    {oxa_zunic_registration_state_unregistered, "unregistered"},
    {oxa_zunic_registration_state_preregistered, "preregistered"},
};
inline constexpr Words cStateWords = cStateWordList;

inline constexpr Word cSlotStateWordList[]{
    {Channel::eSlotStateFree, "free"},       {Channel::eSlotStateReserved, "reserved"},
    {Channel::eSlotStateWritten, "written"}, {Channel::eSlotStateMessage, "message"},
    {Channel::eSlotStateData, "data"},
};
inline constexpr Words cSlotStateWords = cSlotStateWordList;

inline constexpr Word cChainEndWordList[]{{0, "whole"}, {1, "invalid-index"}, {2, "not-data"}, {3, "loop"}, {4, "cut"}};
inline constexpr Words cChainEndWords = cChainEndWordList;

inline constexpr Word cLivingWordList[]{{0, "no"}, {1, "yes"}, {2, "unknown"}};
inline constexpr Words cLivingWords = cLivingWordList;

/// The word for the number; the number itself when there is none.
std::string wordFor(Words words, std::uint32_t number);
/// None when there is no such word.
std::optional<std::uint32_t> numberFor(Words words, std::string_view text);

inline std::string typeWord(std::uint32_t type)
{
    return wordFor(cTypeWords, type);
}

inline std::string stateWord(std::uint32_t state)
{
    return wordFor(cStateWords, state);
}

inline std::string slotStateWord(Channel::SlotState state)
{
    return wordFor(cSlotStateWords, state);
}

inline std::string chainEndWord(Channel::ChainEnd end)
{
    return wordFor(cChainEndWords, static_cast<std::uint32_t>(end));
}

inline std::string livingWord(Living living)
{
    return wordFor(cLivingWords, static_cast<std::uint32_t>(living));
}

/// "1.2.3".
std::string versionWord(const Oxa::Version& version);

} // namespace Inspect

#endif
