#include "scenario_place.h"

#include <algorithm>

namespace ZunicDemo {

namespace {

bool isIndex(std::string_view step)
{
    return std::ranges::all_of(step, [](char digit) { return digit >= '0' && digit <= '9'; });
}

} // namespace

std::string pathText(std::string_view pointer)
{
    std::string path;
    while (!pointer.empty()) {
        const std::size_t end = std::min(pointer.find('/', 1), pointer.size());
        const std::string step(pointer.substr(1, end - 1));
        path += isIndex(step) ? "[" + step + "]" : (path.empty() ? "" : ".") + step;
        pointer.remove_prefix(end);
    }
    return path;
}

void requireKeys(const JsonPlace& place, std::initializer_list<std::string_view> keys)
{
    if (!place.value().is_object()) {
        place.expected("an object");
    }
    for (const auto& [key, value] : place.value().items()) {
        if (std::ranges::find(keys, key) == keys.end()) {
            std::string known;
            for (const std::string_view name : keys) {
                known += (known.empty() ? "" : ", ") + std::string(name);
            }
            place.fail("unknown key " + ZunicJson::shown(key) + ", expected one of " + known);
        }
    }
}

JsonPlace require(const JsonPlace& place, const char* key)
{
    const std::optional<JsonPlace> found = place.find(key);
    if (!found) {
        place.fail("expected a key \"" + std::string(key) + "\"");
    }
    return *found;
}

std::string readText(const JsonPlace& place, const PlaceholderNumbers& numbers, std::size_t mostBytes)
{
    std::string expanded;
    try {
        expanded = expandText(place.text(), numbers);
    } catch (const std::invalid_argument& mistake) {
        place.fail(std::string("expected placeholders like {n} or {n*16+15}, not ") + mistake.what() + " in " +
                   ZunicJson::shown(place.value()));
    }
    if (expanded.size() > mostBytes) {
        place.fail("expected at most " + std::to_string(mostBytes) + " bytes, not " + std::to_string(expanded.size()));
    }
    if (expanded.find('\0') != std::string::npos) {
        place.expected("a string without NUL");
    }
    return expanded;
}

} // namespace ZunicDemo
