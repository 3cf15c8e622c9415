#include "inspect/saved/read_json.h"

#include "inspect/saved/text_position.h"

#include <array>

namespace Inspect {

namespace {

/// No state is deeper, and what later versions add will not be by much. Without a bound a hostile file could ask for
/// any amount of memory.
constexpr std::size_t cMostNesting = 32;
constexpr std::size_t cMostBytes = std::size_t{1} << 30;

/// A JSON pointer to no place at all.
constexpr auto cNowhere = "nowhere";

std::string readText(std::istream& in)
{
    std::string text;
    std::array<char, 65'536> block;
    while (in.read(block.data(), block.size()), in.gcount() > 0) {
        text.append(block.data(), static_cast<std::size_t>(in.gcount()));
        if (text.size() > cMostBytes) {
            throw NoState("larger than any state: more than 1 GiB");
        }
    }
    if (in.bad()) {
        throw NoState("cannot be read");
    }
    return text;
}

/// The reason without what the library puts in front of it, and without the text around the place.
std::string reasonOf(const Json::exception& error)
{
    const std::string what = error.what();
    const std::size_t place = what.find(": ");
    const std::size_t begin = place == std::string::npos ? what.find("] ") : place;
    return what.substr(begin + 2, what.find("; last read:") - (begin + 2));
}

} // namespace

void readJson(std::istream& in, const std::function<void(const JsonPlace& document)>& read)
{
    const std::string text = readText(in);
    const auto at = [&](std::size_t offset) { return positionText(text, offset) + ": "; };
    if (const std::size_t deep = findDeeperThan(text, cMostNesting); deep != std::string::npos) {
        throw NoState(at(deep) + "nested deeper than any state");
    }
    try {
        const Json document = Json::parse(text);
        read(JsonPlace(document));
    } catch (const Json::exception& error) {
        throw NoState(at(offsetOf(text, cNowhere)) + "no JSON: " + reasonOf(error));
    } catch (const Misplaced& mistake) {
        throw NoState(at(offsetOf(text, mistake.mPointer)) + mistake.mPointer + (mistake.mPointer.empty() ? "" : ": ") +
                      mistake.what());
    }
}

Oxa::Version readVersion(const JsonPlace& place)
{
    std::vector<std::uint32_t> numbers;
    place.forEach([&](const JsonPlace& number) { numbers.push_back(number.number<std::uint16_t>()); });
    if (numbers.size() != 3) {
        place.expected("three numbers");
    }
    return {numbers[0], numbers[1], numbers[2]};
}

} // namespace Inspect
