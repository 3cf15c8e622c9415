#include "json_place.h"

#include <algorithm>

namespace ZunicDemo {

namespace {

/// `value` on one line and not too long for a message.
std::string shown(const nlohmann::json& value)
{
    constexpr std::size_t cMostBytes = 60;
    if (value.is_object()) {
        return "an object";
    }
    if (value.is_array()) {
        return "an array";
    }
    std::string text = value.dump(-1, ' ', true, nlohmann::json::error_handler_t::replace);
    if (text.size() > cMostBytes) {
        text.resize(cMostBytes);
        text += "...";
    }
    return text;
}

} // namespace

void JsonPlace::failExpecting(const std::string& expected) const
{
    fail("expected " + expected + ", not " + shown(*mValue));
}

void JsonPlace::fail(const std::string& message) const
{
    throw PlaceMistake((mPath.empty() ? "" : mPath + ": ") + message);
}

void JsonPlace::requireKeys(std::initializer_list<std::string_view> keys) const
{
    if (!mValue->is_object()) {
        failExpecting("an object");
    }
    for (const auto& item : mValue->items()) {
        if (std::find(keys.begin(), keys.end(), item.key()) == keys.end()) {
            std::string known;
            for (const std::string_view key : keys) {
                known += (known.empty() ? "" : ", ") + std::string(key);
            }
            fail("unknown key " + shown(item.key()) + ", expected one of " + known);
        }
    }
}

std::optional<JsonPlace> JsonPlace::find(const std::string& key) const
{
    const auto found = mValue->find(key);
    if (found == mValue->end()) {
        return std::nullopt;
    }
    return JsonPlace(*found, mPath.empty() ? key : mPath + "." + key);
}

JsonPlace JsonPlace::require(const std::string& key) const
{
    const std::optional<JsonPlace> place = find(key);
    if (!place) {
        fail("expected a key \"" + key + "\"");
    }
    return *place;
}

std::vector<JsonPlace> JsonPlace::elements() const
{
    if (!isArray()) {
        failExpecting("an array");
    }
    std::vector<JsonPlace> places;
    for (const nlohmann::json& element : *mValue) {
        places.emplace_back(element, mPath + "[" + std::to_string(places.size()) + "]");
    }
    return places;
}

std::vector<JsonPlace> JsonPlace::elements(const std::string& key) const
{
    const std::optional<JsonPlace> array = find(key);
    return array ? array->elements() : std::vector<JsonPlace>{};
}

std::uint64_t JsonPlace::number(NumberLimits limits) const
{
    // A negative number is the one kind of integer that is not also unsigned to the parser.
    if (!mValue->is_number_unsigned() || mValue->get<std::uint64_t>() < limits.least ||
        mValue->get<std::uint64_t>() > limits.most) {
        failExpecting("a whole number from " + std::to_string(limits.least) + " to " + std::to_string(limits.most));
    }
    return mValue->get<std::uint64_t>();
}

bool JsonPlace::boolean() const
{
    if (!mValue->is_boolean()) {
        failExpecting("true or false");
    }
    return mValue->get<bool>();
}

std::string JsonPlace::text(const PlaceholderNumbers& numbers, std::size_t mostBytes) const
{
    if (!isString()) {
        failExpecting("a string");
    }
    std::string expanded;
    try {
        expanded = expandText(mValue->get_ref<const std::string&>(), numbers);
    } catch (const std::invalid_argument& mistake) {
        fail(std::string("expected placeholders like {n} or {n*16+15}, not ") + mistake.what() + " in " +
             shown(*mValue));
    }
    if (expanded.size() > mostBytes) {
        fail("expected at most " + std::to_string(mostBytes) + " bytes, not " + std::to_string(expanded.size()));
    }
    if (expanded.find('\0') != std::string::npos) {
        failExpecting("a string without NUL");
    }
    return expanded;
}

} // namespace ZunicDemo
