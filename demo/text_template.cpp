#include "text_template.h"

#include <algorithm>
#include <charconv>
#include <stdexcept>

namespace ZunicDemo {

namespace {

// Small enough that no sum or product of a copy's number and two of these overflows.
constexpr std::uint64_t cLargestOperand = 65535;

/// Takes `sign` and the number behind it off the front of `rest`; `absent` when `rest` does not begin with `sign`.
std::uint64_t takeOperand(std::string_view& rest, char sign, std::uint64_t absent)
{
    if (rest.empty() || rest.front() != sign) {
        return absent;
    }
    std::uint64_t number = 0;
    const auto [end, error] = std::from_chars(rest.data() + 1, rest.data() + rest.size(), number);
    if (error != std::errc{} || number > cLargestOperand) {
        throw std::invalid_argument("a placeholder whose operand is not a number up to 65535");
    }
    rest.remove_prefix(static_cast<std::size_t>(end - rest.data()));
    return number;
}

std::uint64_t evaluate(std::string_view placeholder, const PlaceholderNumbers& numbers)
{
    const std::size_t nameLength = std::min(placeholder.find_first_of("*+"), placeholder.size());
    const auto found = numbers.find(placeholder.substr(0, nameLength));
    if (found == numbers.end()) {
        throw std::invalid_argument("an unknown placeholder");
    }
    std::string_view rest = placeholder.substr(nameLength);
    const std::uint64_t factor = takeOperand(rest, '*', 1);
    const std::uint64_t summand = takeOperand(rest, '+', 0);
    if (!rest.empty()) {
        throw std::invalid_argument("a placeholder that is not of the form {n*16+15}");
    }
    return found->second * factor + summand;
}

} // namespace

std::string expandText(std::string_view text, const PlaceholderNumbers& numbers)
{
    std::string expanded;
    for (;;) {
        const std::size_t open = text.find('{');
        expanded += text.substr(0, open);
        if (open == std::string_view::npos) {
            return expanded;
        }
        const std::size_t close = text.find('}', open);
        if (close == std::string_view::npos) {
            throw std::invalid_argument("a placeholder without its closing brace");
        }
        expanded += std::to_string(evaluate(text.substr(open + 1, close - open - 1), numbers));
        text.remove_prefix(close + 1);
    }
}

} // namespace ZunicDemo
