#include "inspect/cli/printable.h"

#include <algorithm>
#include <array>
#include <cwchar>
#include <cwctype>

namespace Inspect {

namespace {

constexpr std::size_t cNoCharacter = 0;

/// They look like blanks or like nothing, but the C library takes them for letters: soft hyphen, blanks that do not
/// break a line, fillers.
constexpr std::array<wchar_t, 9> cLikeBlanks{0x00A0, 0x00AD, 0x115F, 0x1160, 0x2007, 0x202F, 0x2800, 0x3164, 0xFFA0};

/// Shown as it is, whatever stands beside it.
bool isPlain(char byte)
{
    return byte > ' ' && byte <= '~' && byte != '\\';
}

/// The number of bytes that the first character has; cNoCharacter when it is none that is shown. What has no width
/// could change how others are shown, for example the writing direction.
std::size_t shownBytes(std::string_view bytes)
{
    const char first = bytes.front();
    if (first > ' ' && first <= '~') {
        return 1;
    }
    wchar_t character = 0;
    std::mbstate_t state{};
    const std::size_t size = std::mbrtowc(&character, bytes.data(), bytes.size(), &state);
    const bool isShown = size <= bytes.size() && wcwidth(character) > 0 &&
                         std::iswspace(static_cast<std::wint_t>(character)) == 0 &&
                         std::ranges::find(cLikeBlanks, character) == cLikeBlanks.end();
    return isShown ? size : cNoCharacter;
}

void appendEscaped(std::string& text, char byte)
{
    constexpr auto cDigits = "0123456789abcdef";
    const auto value = static_cast<unsigned char>(byte);
    text += {'\\', 'x', cDigits[value >> 4], cDigits[value & 0xF]};
}

} // namespace

std::string printable(std::string_view bytes, Blanks blanks)
{
    std::string text;
    text.reserve(bytes.size());
    while (!bytes.empty()) {
        const auto plain = static_cast<std::size_t>(std::ranges::find_if_not(bytes, isPlain) - bytes.begin());
        text += bytes.substr(0, plain);
        bytes.remove_prefix(plain);
        if (bytes.empty()) {
            break;
        }
        const bool isKeptBlank = blanks == Blanks::eKept && bytes.front() == ' ';
        const std::size_t shown = isKeptBlank ? 1 : bytes.starts_with("\\x") ? cNoCharacter : shownBytes(bytes);
        if (shown == cNoCharacter) {
            appendEscaped(text, bytes.front());
        } else {
            text += bytes.substr(0, shown);
        }
        bytes.remove_prefix(std::max<std::size_t>(shown, 1));
    }
    return text;
}

} // namespace Inspect
