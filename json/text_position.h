#ifndef JSON_TEXT_POSITION_H
#define JSON_TEXT_POSITION_H

#include <cstddef>
#include <string_view>

namespace ZunicJson {

/// Both counted from 1, in bytes.
struct TextPosition
{
    std::size_t mLine;
    std::size_t mColumn;
};

/// Where the byte at `offset` is.
TextPosition positionOf(std::string_view text, std::size_t offset);

/// Where in a JSON document the container begins, or the other value ends, that a JSON pointer such as
/// "/interfaces/3/id" names, or the innermost container on the way to it that is there. In a text that is no JSON:
/// where it ceases to be.
std::size_t offsetOf(std::string_view text, std::string_view pointer);

/// Where the first container begins that lies deeper than `depth` others; npos when there is none.
std::size_t findDeeperThan(std::string_view text, std::size_t depth);

} // namespace ZunicJson

#endif
