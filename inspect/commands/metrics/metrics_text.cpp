#include "inspect/commands/metrics/metrics_text.h"

#include <nlohmann/json.hpp>

#include <array>
#include <charconv>

namespace Inspect {

namespace {

std::string asUtf8(const std::string& bytes)
{
    using Json = nlohmann::json;
    return Json::parse(Json(bytes).dump(-1, ' ', false, Json::error_handler_t::replace)).get<std::string>();
}

std::string escaped(char character)
{
    switch (character) {
    case '\\':
        return "\\\\";
    case '"':
        return "\\\"";
    case '\n':
        return "\\n";
    case '\0':
        return "\uFFFD"; // Prometheus would take it for the end of the text.
    default:
        return {character};
    }
}

std::string labelText(const Label& label)
{
    std::string text = std::string(label.mName) + "=\"";
    for (const char character : asUtf8(label.mValue)) {
        text += escaped(character);
    }
    return text + '"';
}

/// As short as it can be for the same number, and without an exponent: people read it, too.
std::string numberText(double value)
{
    std::array<char, 512> digits; // The longest that there is takes some 330.
    const auto result = std::to_chars(digits.begin(), digits.end(), value, std::chars_format::fixed);
    return {digits.begin(), result.ptr};
}

} // namespace

MetricsText::MetricsText(std::ostream& out, const std::string& channel)
    : mOut(out), mChannelLabel(labelText({"channel", channel}))
{}

void MetricsText::begin(const char* name, const char* help)
{
    mName = name;
    mOut << "# HELP " << name << ' ' << help << "\n# TYPE " << name << " gauge\n";
}

void MetricsText::add(double value, std::initializer_list<Label> labels)
{
    mOut << mName << '{' << mChannelLabel;
    for (const Label& label : labels) {
        mOut << ',' << labelText(label);
    }
    mOut << "} " << numberText(value) << '\n';
}

} // namespace Inspect
