#ifndef JSON_JSON_PLACE_H
#define JSON_JSON_PLACE_H

#include "json/json_fwd.h"

#include <concepts>
#include <cstdint>
#include <limits>
#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>
#include <string>

namespace ZunicJson {

/// A value for a message: on one line and not too long, objects and arrays as "an object" and "an array".
std::string shown(const Json& value);

/// A value in a document is not as it has to be. what() is the complaint, without the place.
class Misplaced : public std::runtime_error
{
public:
    Misplaced(const JsonPlace& place, const std::string& complaint, bool isOfValue);

    std::string mPointer; ///< where, as JSON pointers go, but that nothing is escaped: "/interfaces/3/id"
    std::string mInstead; ///< the value there as `shown`, if the complaint is about it; else empty
};

struct NumberLimits
{
    std::uint64_t mLeast;
    std::uint64_t mMost;
};

/// A value in a JSON document, which has to outlive it. Whatever is not there as expected throws Misplaced.
class JsonPlace
{
public:
    explicit JsonPlace(const Json& document) : JsonPlace(document, document) {}

    const Json& value() const { return *mValue; }
    /// "/interfaces/3/id". Searches the whole document: for complaints.
    std::string pointer() const;

    bool has(const char* key) const { return find(key).has_value(); }
    std::optional<JsonPlace> find(const char* key) const;
    JsonPlace operator[](const char* key) const;

    /// Calls `visit` with the place of each element.
    template <typename Visit>
    void forEach(Visit visit) const
    {
        requireArray();
        for (const Json& element : *mValue) {
            visit(JsonPlace(*mDocument, element));
        }
    }

    std::uint64_t unsignedWithin(NumberLimits limits) const;
    std::uint64_t unsignedUpTo(std::uint64_t most) const { return unsignedWithin({0, most}); }

    template <std::unsigned_integral Number>
    Number number() const
    {
        return static_cast<Number>(unsignedUpTo(std::numeric_limits<Number>::max()));
    }

    bool boolean() const;
    std::string text() const;
    /// A name: a string, or an array of bytes.
    std::string name() const;

    /// Complains about the value: "expected a string".
    [[noreturn]] void expected(const std::string& what) const;
    /// Complains about something else here.
    [[noreturn]] void fail(const std::string& complaint) const;

private:
    JsonPlace(const Json& document, const Json& value) : mDocument(&document), mValue(&value) {}

    void requireArray() const;

    const Json* mDocument;
    const Json* mValue;
};

} // namespace ZunicJson

#endif
