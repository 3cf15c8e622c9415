#include "printable.h"

#include <string_view>

namespace {

/// How many bytes at the start of `text` are one control character: 0 for anything else.
std::size_t controlLength(std::string_view text)
{
    const auto first = static_cast<unsigned char>(text[0]);
    if (first < 0x20 || first == 0x7F) {
        return 1;
    }
    // U+0080 to U+009F: terminals take some of them for the start of a command, as they do ESC [.
    constexpr unsigned char cLead = 0xC2;
    const auto second = static_cast<unsigned char>(text.size() > 1 ? text[1] : '\0');
    return first == cLead && second >= 0x80 && second < 0xA0 ? 2 : 0;
}

std::string hexEscape(char character)
{
    static constexpr std::string_view cDigits = "0123456789abcdef";
    const auto byte = static_cast<unsigned char>(character);
    return {'\\', 'x', cDigits[byte >> 4U], cDigits[byte & 0xFU]};
}

} // namespace

std::string printable(const std::string& text)
{
    std::string result;
    for (std::string_view rest = text; !rest.empty();) {
        if (const std::size_t length = controlLength(rest); length > 0) {
            for (const char character : rest.substr(0, length)) {
                result += hexEscape(character);
            }
            rest.remove_prefix(length);
        } else {
            result += rest.front();
            rest.remove_prefix(1);
        }
    }
    return result;
}
