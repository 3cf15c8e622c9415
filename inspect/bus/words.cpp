#include "inspect/bus/words.h"

#include <algorithm>
#include <array>
#include <utility>

namespace Inspect {

namespace {

using Word = std::pair<std::uint32_t, const char*>;

constexpr std::array<Word, 3> cTypes{{
    {Oxa::eInterfaceInstanceTypeUndefined, "undefined"},
    {Oxa::eInterfaceInstanceTypeStub, "stub"},
    {Oxa::eInterfaceInstanceTypeSkeleton, "skeleton"},
}};

constexpr std::array<Word, 4> cStates{{
    {oxa_zunic_registration_state_invalid, "invalid"},
    {oxa_zunic_registration_state_registered, "registered"},
    {oxa_zunic_registration_state_unregistered, "unregistered"},
    {oxa_zunic_registration_state_preregistered, "preregistered"},
}};

template <std::size_t size>
std::string wordFor(const std::array<Word, size>& words, std::uint32_t number)
{
    const auto found = std::ranges::find(words, number, &Word::first);
    return found == words.end() ? std::to_string(number) : found->second;
}

template <std::size_t size>
std::optional<std::uint32_t> numberFor(const std::array<Word, size>& words, std::string_view text)
{
    const auto found = std::ranges::find(words, text, &Word::second);
    return found == words.end() ? std::nullopt : std::optional(found->first);
}

} // namespace

std::string typeWord(std::uint32_t type)
{
    return wordFor(cTypes, type);
}

std::string stateWord(std::uint32_t state)
{
    return wordFor(cStates, state);
}

std::string slotStateWord(Channel::SlotState state)
{
    constexpr std::array cWords{"free", "reserved", "written", "message", "data"};
    return cWords.at(state);
}

std::string chainEndWord(Channel::ChainEnd end)
{
    constexpr std::array cWords{"whole", "invalid-index", "not-data", "loop", "cut"};
    return cWords.at(static_cast<std::size_t>(end));
}

std::string livingWord(Living living)
{
    constexpr std::array cWords{"no", "yes", "unknown"};
    return cWords.at(static_cast<std::size_t>(living));
}

std::string versionWord(const Oxa::Version& version)
{
    return std::to_string(version.mMajor) + '.' + std::to_string(version.mMinor) + '.' +
           std::to_string(version.mRevision);
}

std::optional<std::uint32_t> typeOf(std::string_view word)
{
    return numberFor(cTypes, word);
}

std::optional<std::uint32_t> stateOf(std::string_view word)
{
    return numberFor(cStates, word);
}

} // namespace Inspect
