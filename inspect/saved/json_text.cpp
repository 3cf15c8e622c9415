#include "inspect/saved/json_text.h"

#include <algorithm>
#include <array>
#include <nlohmann/json.hpp>
#include <string_view>

namespace Inspect {

namespace {

struct Range
{
    unsigned mFirst;
    unsigned mLast;
};

/// What the library does not escape of its own accord.
constexpr std::array<Range, 7> cUnseen{{{0x7F, 0x9F},
                                        {0xAD, 0xAD},
                                        {0x61C, 0x61C},
                                        {0x200B, 0x200F},
                                        {0x2028, 0x202E},
                                        {0x2060, 0x206F},
                                        {0xFEFF, 0xFEFF}}};

/// Whether one of them can begin with this byte in UTF-8.
bool canBeginUnseen(char byte)
{
    return byte == '\x7F' || byte == '\xC2' || byte == '\xD8' || byte == '\xE2' || byte == '\xEF';
}

/// The first character, of valid UTF-8; it begins with one of these bytes.
unsigned characterAt(std::string_view text, std::size_t size)
{
    const auto bits = [&](std::size_t place, unsigned mask) { return static_cast<unsigned char>(text[place]) & mask; };
    switch (size) {
    case 1:
        return bits(0, 0x7F);
    case 2:
        return bits(0, 0x1F) << 6 | bits(1, 0x3F);
    default:
        return bits(0, 0x0F) << 12 | bits(1, 0x3F) << 6 | bits(2, 0x3F);
    }
}

void appendEscaped(std::string& text, unsigned character)
{
    constexpr auto cDigits = "0123456789abcdef";
    text += "\\u";
    for (const unsigned shift : {12U, 8U, 4U, 0U}) {
        text += cDigits[character >> shift & 0xF];
    }
}

} // namespace

std::string jsonText(const ZunicJson::Json& value, int indent)
{
    std::string dumped = value.dump(indent);
    std::string text;
    // Outside its strings, JSON is ASCII without DEL.
    for (std::string_view rest = dumped; !rest.empty();) {
        const auto plain = static_cast<std::size_t>(std::ranges::find_if(rest, canBeginUnseen) - rest.begin());
        if (plain == dumped.size()) {
            return dumped;
        }
        text += rest.substr(0, plain);
        rest.remove_prefix(plain);
        if (rest.empty()) {
            break;
        }
        const std::size_t size = rest.front() == '\x7F' ? 1 : rest.front() >= '\xE0' ? 3 : 2;
        const unsigned character = characterAt(rest, size);
        if (std::ranges::any_of(cUnseen,
                                [&](Range range) { return range.mFirst <= character && character <= range.mLast; })) {
            appendEscaped(text, character);
        } else {
            text += rest.substr(0, size);
        }
        rest.remove_prefix(size);
    }
    return text;
}

} // namespace Inspect
