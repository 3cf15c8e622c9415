#include "inspect/saved/json_place.h"

namespace Inspect {

JsonPlace JsonPlace::operator[](const char* key) const
{
    if (!mValue.is_object()) {
        expected("an object");
    }
    const auto found = mValue.find(key);
    if (found == mValue.end()) {
        expected("a member \"" + std::string(key) + "\"");
    }
    return {*found, this, key, 0};
}

void JsonPlace::requireArray() const
{
    if (!mValue.is_array()) {
        expected("an array");
    }
}

std::uint64_t JsonPlace::unsignedUpTo(std::uint64_t most) const
{
    if (!mValue.is_number_unsigned() || mValue.get<std::uint64_t>() > most) {
        expected("a whole number from 0 to " + std::to_string(most));
    }
    return mValue.get<std::uint64_t>();
}

std::string JsonPlace::text() const
{
    if (!mValue.is_string()) {
        expected("a string");
    }
    return mValue.get<std::string>();
}

std::string JsonPlace::name() const
{
    if (mValue.is_string()) {
        return mValue.get<std::string>();
    }
    if (!mValue.is_array()) {
        expected("a string, or an array of bytes");
    }
    std::string bytes;
    forEach([&](const JsonPlace& byte) { bytes += static_cast<char>(byte.number<std::uint8_t>()); });
    return bytes;
}

void JsonPlace::expected(const std::string& what) const
{
    throw Misplaced(pointer(), "expected " + what);
}

std::string JsonPlace::pointer() const
{
    if (mParent == nullptr) {
        return "";
    }
    return mParent->pointer() + '/' + (mKey.empty() ? std::to_string(mIndex) : mKey);
}

} // namespace Inspect
