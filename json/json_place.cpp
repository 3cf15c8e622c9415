#include "json/json_place.h"

namespace ZunicJson {

namespace {

/// Appends the way from `here` to `wanted`, which is told by its address; false when it is not in there.
bool appendWay(const Json& here, const Json& wanted, std::string& pointer)
{
    if (&here == &wanted) {
        return true;
    }
    if (!here.is_structured()) {
        return false;
    }
    const std::size_t length = pointer.size();
    for (const auto& [key, value] : here.items()) {
        pointer += '/' + key;
        if (appendWay(value, wanted, pointer)) {
            return true;
        }
        pointer.resize(length);
    }
    return false;
}

} // namespace

std::string shown(const Json& value)
{
    constexpr std::size_t cMostBytes = 60;
    if (value.is_structured()) {
        return value.is_object() ? "an object" : "an array";
    }
    std::string text = value.dump(-1, ' ', true, Json::error_handler_t::replace);
    if (text.size() > cMostBytes) {
        text.resize(cMostBytes);
        text += "...";
    }
    return text;
}

Misplaced::Misplaced(const JsonPlace& place, const std::string& complaint, bool isOfValue)
    : std::runtime_error(complaint), mPointer(place.pointer()), mInstead(isOfValue ? shown(place.value()) : "")
{}

std::string JsonPlace::pointer() const
{
    std::string way;
    appendWay(*mDocument, *mValue, way);
    return way;
}

std::optional<JsonPlace> JsonPlace::find(const char* key) const
{
    const auto found = mValue->find(key);
    return found == mValue->end() ? std::nullopt : std::optional(JsonPlace(*mDocument, *found));
}

JsonPlace JsonPlace::operator[](const char* key) const
{
    if (!mValue->is_object()) {
        expected("an object");
    }
    const std::optional<JsonPlace> found = find(key);
    if (!found) {
        fail("expected a member \"" + std::string(key) + "\"");
    }
    return *found;
}

void JsonPlace::requireArray() const
{
    if (!mValue->is_array()) {
        expected("an array");
    }
}

std::uint64_t JsonPlace::unsignedWithin(NumberLimits limits) const
{
    // A negative number is the one kind of integer that is not also unsigned to the parser.
    const auto* const number =
        mValue->is_number_unsigned() ? mValue->get_ptr<const Json::number_unsigned_t*>() : nullptr;
    if (number == nullptr || *number < limits.mLeast || *number > limits.mMost) {
        expected("a whole number from " + std::to_string(limits.mLeast) + " to " + std::to_string(limits.mMost));
    }
    return *number;
}

bool JsonPlace::boolean() const
{
    if (!mValue->is_boolean()) {
        expected("true or false");
    }
    return mValue->get<bool>();
}

std::string JsonPlace::text() const
{
    if (!mValue->is_string()) {
        expected("a string");
    }
    return mValue->get<std::string>();
}

std::string JsonPlace::name() const
{
    if (mValue->is_string()) {
        return mValue->get<std::string>();
    }
    if (!mValue->is_array()) {
        expected("a string, or an array of bytes");
    }
    std::string bytes;
    forEach([&](const JsonPlace& byte) { bytes += static_cast<char>(byte.number<std::uint8_t>()); });
    return bytes;
}

void JsonPlace::expected(const std::string& what) const
{
    throw Misplaced(*this, "expected " + what, true);
}

void JsonPlace::fail(const std::string& complaint) const
{
    throw Misplaced(*this, complaint, false);
}

} // namespace ZunicJson
