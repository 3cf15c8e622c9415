#include "inspect/commands/top/text_fit.h"

#include <algorithm>
#include <cwchar>
#include <sstream>

namespace Inspect {

namespace {

struct Character
{
    std::size_t mBytes;
    std::size_t mWidth;
};

Character firstOf(std::string_view text)
{
    if (text.front() >= ' ' && text.front() <= '~') {
        return {1, 1};
    }
    wchar_t character = 0;
    std::mbstate_t state{};
    const std::size_t bytes = std::mbrtowc(&character, text.data(), text.size(), &state);
    if (bytes == 0 || bytes > text.size()) {
        return {1, 1};
    }
    return {bytes, static_cast<std::size_t>(std::max(0, wcwidth(character)))};
}

} // namespace

std::size_t shownWidth(std::string_view text)
{
    std::size_t width = 0;
    while (!text.empty()) {
        const Character character = firstOf(text);
        width += character.mWidth;
        text.remove_prefix(character.mBytes);
    }
    return width;
}

std::string_view beginningOf(std::string_view text, std::size_t width)
{
    std::size_t bytes = 0;
    while (bytes < text.size()) {
        const Character character = firstOf(text.substr(bytes));
        if (character.mWidth > width) {
            break;
        }
        width -= character.mWidth;
        bytes += character.mBytes;
    }
    return text.substr(0, bytes);
}

std::string fitted(const std::string& text, std::size_t width, bool isToTheRight)
{
    std::string result(beginningOf(text, width));
    const std::size_t blanks = width - shownWidth(result);
    return isToTheRight ? std::string(blanks, ' ') + result : result + std::string(blanks, ' ');
}

std::vector<std::string> brokenInto(std::string_view text, std::size_t width)
{
    std::vector<std::string> lines;
    do {
        lines.emplace_back(beginningOf(text, width));
        text.remove_prefix(lines.back().size());
    } while (!text.empty());
    return lines;
}

std::vector<std::string> linesOf(const std::string& text)
{
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) {
        lines.push_back(line);
    }
    return lines;
}

} // namespace Inspect
