#include "inspect/bus/words.h"

#include <algorithm>

namespace Inspect {

std::string wordFor(Words words, std::uint32_t number)
{
    const auto found = std::ranges::find(words, number, &Word::mNumber);
    return found == words.end() ? std::to_string(number) : found->mText;
}

std::optional<std::uint32_t> numberFor(Words words, std::string_view text)
{
    const auto found = std::ranges::find(words, text, &Word::mText);
    return found == words.end() ? std::nullopt : std::optional(found->mNumber);
}

std::string versionWord(const Oxa::Version& version)
{
    return std::to_string(version.mMajor) + '.' + std::to_string(version.mMinor) + '.' +
           std::to_string(version.mRevision);
}

} // namespace Inspect
