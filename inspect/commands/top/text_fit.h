#ifndef INSPECT_COMMANDS_TOP_TEXT_FIT_H
#define INSPECT_COMMANDS_TOP_TEXT_FIT_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

// Texts in the columns of a terminal. They are printable: each of their characters has a width.

namespace Inspect {

std::size_t shownWidth(std::string_view text);

/// Its beginning, as far as that fits.
std::string_view beginningOf(std::string_view text, std::size_t width);

/// Exactly that wide: cut, or filled with blanks behind it, or in front of it.
std::string fitted(const std::string& text, std::size_t width, bool isToTheRight = false);

/// In lines of at most that width (at least 2), broken anywhere.
std::vector<std::string> brokenInto(std::string_view text, std::size_t width);

/// Its lines, without their ends.
std::vector<std::string> linesOf(const std::string& text);

} // namespace Inspect

#endif
