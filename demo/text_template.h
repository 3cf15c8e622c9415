#ifndef ZUNIC_DEMO_TEXT_TEMPLATE_H
#define ZUNIC_DEMO_TEXT_TEMPLATE_H

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

namespace ZunicDemo {

/// The numbers that placeholders stand for, by name.
using PlaceholderNumbers = std::map<std::string_view, std::uint64_t>;

/// Replaces every placeholder of `text`: {n}, {n*16}, {n+1} and {n*16+15}, with n any name in `numbers`.
/// std::invalid_argument: a placeholder cannot be read, or its name is not known.
std::string expandText(std::string_view text, const PlaceholderNumbers& numbers);

} // namespace ZunicDemo

#endif
