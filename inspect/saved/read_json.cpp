#include "inspect/saved/read_json.h"

#include "json/parse_json.h"
#include "json/text_position.h"

#include <array>
#include <cerrno>
#include <cstring>

namespace Inspect {

namespace {

/// A hundred times the state of a full bus: more is a file that was given by mistake, or a device without an end.
constexpr std::size_t cMostBytes = std::size_t{1} << 30;

/// False when it is not JSON, whatever follows: most devices and pipes without an end need not be read up to the limit.
bool canBeginJson(const std::string& text)
{
    const std::size_t first = text.find_first_not_of(" \t\r\n");
    constexpr std::string_view cFirstBytes = "{[\"-0123456789tfn\xEF"; // the last one: of a byte order mark
    return first == std::string::npos || cFirstBytes.find(text[first]) != std::string_view::npos;
}

std::string readText(std::istream& in)
{
    std::string text;
    std::array<char, 65'536> block;
    while (in.read(block.data(), block.size()), in.gcount() > 0) {
        text.append(block.data(), static_cast<std::size_t>(in.gcount()));
        if (text.size() > cMostBytes) {
            throw NoState("too large: more than 1 GiB");
        }
        if (text.size() <= block.size() && !canBeginJson(text)) {
            break;
        }
    }
    if (in.bad()) {
        throw NoState(std::string("cannot be read: ") + std::strerror(errno));
    }
    return text;
}

/// "line 3, column 14: ", of the byte at `offset`.
std::string at(std::string_view text, std::size_t offset)
{
    const auto [line, column] = ZunicJson::positionOf(text, offset);
    return "line " + std::to_string(line) + ", column " + std::to_string(column) + ": ";
}

} // namespace

void readJson(std::istream& in, const std::function<void(const JsonPlace& document)>& read)
{
    const std::string text = readText(in);
    try {
        const Json document = ZunicJson::parseJson(text);
        read(JsonPlace(document));
    } catch (const ZunicJson::Unparsable& mistake) {
        throw NoState(at(text, mistake.mOffset) + mistake.what());
    } catch (const ZunicJson::Misplaced& mistake) {
        const std::string& pointer = mistake.mPointer;
        throw NoState(at(text, ZunicJson::offsetOf(text, pointer)) + pointer + (pointer.empty() ? "" : ": ") +
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
