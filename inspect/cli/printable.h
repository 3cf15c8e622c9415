#ifndef INSPECT_CLI_PRINTABLE_H
#define INSPECT_CLI_PRINTABLE_H

#include <cstdint>
#include <string>
#include <string_view>

namespace Inspect {

enum class Blanks : std::uint8_t
{
    eEscaped,
    eKept
};

/// Bytes as text that can be shown anywhere and stays one word of one line: each byte of what the terminal does not
/// show as a character of its own is written as \xHH, and so is a backslash that would be taken for the beginning of
/// that. What a character is depends on the locale (LC_CTYPE).
std::string printable(std::string_view bytes, Blanks blanks = Blanks::eEscaped);

} // namespace Inspect

#endif
