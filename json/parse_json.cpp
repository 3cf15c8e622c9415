#include "json/parse_json.h"

#include "json/text_position.h"

#include <nlohmann/json.hpp>

namespace ZunicJson {

namespace {

/// No file of ours is deeper, and what later versions add will not be by much. Without a bound a hostile file could ask
/// for any amount of memory.
constexpr std::size_t cMostNesting = 32;

/// A JSON pointer to no place at all.
constexpr auto cNowhere = "nowhere";

/// The reason without what the library puts in front of it, and without the text around the place.
std::string reasonOf(const Json::exception& error)
{
    const std::string what = error.what();
    const std::size_t place = what.find(": ");
    const std::size_t begin = place == std::string::npos ? what.find("] ") : place;
    return what.substr(begin + 2, what.find("; last read:") - (begin + 2));
}

} // namespace

Json parseJson(std::string_view text)
{
    if (const std::size_t deep = findDeeperThan(text, cMostNesting); deep != std::string_view::npos) {
        throw Unparsable(deep, "nested deeper than " + std::to_string(cMostNesting) + " levels");
    }
    try {
        return Json::parse(text);
    } catch (const Json::exception& error) {
        throw Unparsable(offsetOf(text, cNowhere), "not JSON: " + reasonOf(error));
    }
}

} // namespace ZunicJson
