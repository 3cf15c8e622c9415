#ifndef INSPECT_SAVED_JSON_PLACE_H
#define INSPECT_SAVED_JSON_PLACE_H

#include <concepts>
#include <limits>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>

namespace Inspect {

using Json = nlohmann::ordered_json;

/// Something in a state that is not as it has to be; where it is, and what was expected there.
class Misplaced : public std::runtime_error
{
public:
    Misplaced(const std::string& pointer, const std::string& expectation)
        : std::runtime_error(expectation), mPointer(pointer)
    {}

    std::string mPointer; ///< as JSON pointers go: "/interfaces/3/id"
};

/// A value in a JSON document, and the way to it. Whatever is not there as expected throws Misplaced.
class JsonPlace
{
public:
    explicit JsonPlace(const Json& document) : mValue(document) {}

    const Json& value() const { return mValue; }
    bool has(const char* key) const { return mValue.is_object() && mValue.contains(key); }
    JsonPlace operator[](const char* key) const;

    /// Calls `visit` with the place of each element.
    template <typename Visit>
    void forEach(Visit visit) const
    {
        requireArray();
        for (std::size_t i = 0; i < mValue.size(); ++i) {
            visit(JsonPlace(mValue[i], this, {}, i));
        }
    }

    std::uint64_t unsignedUpTo(std::uint64_t most) const;

    template <std::unsigned_integral Number>
    Number number() const
    {
        return static_cast<Number>(unsignedUpTo(std::numeric_limits<Number>::max()));
    }

    std::string text() const;
    /// A name: a string, or an array of bytes.
    std::string name() const;

    [[noreturn]] void expected(const std::string& what) const;

private:
    JsonPlace(const Json& value, const JsonPlace* parent, std::string key, std::size_t index)
        : mValue(value), mParent(parent), mKey(std::move(key)), mIndex(index)
    {}

    void requireArray() const;
    std::string pointer() const;

    const Json& mValue;
    const JsonPlace* mParent = nullptr;
    std::string mKey; ///< empty in an array
    std::size_t mIndex = 0;
};

} // namespace Inspect

#endif
