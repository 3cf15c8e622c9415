#ifndef ZUNIC_DEMO_JSON_PLACE_H
#define ZUNIC_DEMO_JSON_PLACE_H

#include "text_template.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace ZunicDemo {

/// A value that is not as it should be; what() names its place and what was expected there, in one line.
class PlaceMistake : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

struct NumberLimits
{
    std::uint64_t least = 0;
    std::uint64_t most = 0;
};

template <typename T>
using WordTable = std::initializer_list<std::pair<std::string_view, T>>;

/// A value in a JSON document, together with the way to it, such as processes[2].name.
/// Refers to the document, which must outlive it. Everything throws PlaceMistake when the value is not as expected.
class JsonPlace
{
public:
    JsonPlace(const nlohmann::json& value, std::string path) : mValue(&value), mPath(std::move(path)) {}

    const std::string& path() const { return mPath; }
    bool isArray() const { return mValue->is_array(); }
    bool isString() const { return mValue->is_string(); }

    [[noreturn]] void failExpecting(const std::string& expected) const;
    [[noreturn]] void fail(const std::string& message) const;

    /// Holds when this is an object with no other keys than these.
    void requireKeys(std::initializer_list<std::string_view> keys) const;

    std::optional<JsonPlace> find(const std::string& key) const;
    JsonPlace require(const std::string& key) const;

    /// The elements of this array.
    std::vector<JsonPlace> elements() const;
    /// The elements of the array under `key`; none when there is no such key.
    std::vector<JsonPlace> elements(const std::string& key) const;

    std::uint64_t number(NumberLimits limits) const;
    bool boolean() const;
    /// A string with its placeholders replaced, of at most `mostBytes` bytes and without NUL.
    std::string text(const PlaceholderNumbers& numbers, std::size_t mostBytes) const;

    /// The value that `words` gives for this string.
    template <typename T>
    T word(WordTable<T> words) const
    {
        std::string expected;
        for (const auto& [word, value] : words) {
            if (*mValue == word) {
                return value;
            }
            expected += (expected.empty() ? "\"" : ", \"") + std::string(word) + "\"";
        }
        failExpecting("one of " + expected);
    }

private:
    const nlohmann::json* mValue;
    std::string mPath;
};

} // namespace ZunicDemo

#endif
