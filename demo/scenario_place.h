#ifndef ZUNIC_DEMO_SCENARIO_PLACE_H
#define ZUNIC_DEMO_SCENARIO_PLACE_H

#include "text_template.h"
#include "json/json_place.h"

#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>

// What the values in a scenario have beyond those of other JSON documents.

namespace ZunicDemo {

using ZunicJson::JsonPlace;

template <typename T>
using WordTable = std::initializer_list<std::pair<std::string_view, T>>;

/// The place that a JSON pointer names, as scenarios are talked about: "processes[2].name".
std::string pathText(std::string_view pointer);

/// Throws Misplaced unless this is an object with no other keys than these.
void requireKeys(const JsonPlace& place, std::initializer_list<std::string_view> keys);

/// The value under the key. Throws Misplaced when there is none.
JsonPlace require(const JsonPlace& place, const char* key);

/// Calls `visit` with the place of each element of the array under the key, if there is one.
template <typename Visit>
void forEachOf(const JsonPlace& place, const char* key, Visit visit)
{
    if (const auto array = place.find(key)) {
        array->forEach(visit);
    }
}

/// A string with its placeholders replaced, of at most `mostBytes` bytes and without NUL. Throws Misplaced.
std::string readText(const JsonPlace& place, const PlaceholderNumbers& numbers, std::size_t mostBytes);

/// The value that `words` gives for a string. Throws Misplaced.
template <typename T>
T readWord(const JsonPlace& place, WordTable<T> words)
{
    std::string expected;
    for (const auto& [word, value] : words) {
        if (place.value() == word) {
            return value;
        }
        expected += (expected.empty() ? "\"" : ", \"") + std::string(word) + "\"";
    }
    place.expected("one of " + expected);
}

} // namespace ZunicDemo

#endif
