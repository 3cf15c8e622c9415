#include "inspect/show/show.h"

#include "inspect/show/interface_tree.h"

#include <algorithm>
#include <charconv>

namespace Inspect {

namespace {

/// As a name and, if it is a number, as an id.
bool fits(const std::string& word, const Interface& interface)
{
    std::uint16_t id = 0;
    const char* const end = word.data() + word.size();
    const auto [stop, error] = std::from_chars(word.data(), end, id);
    const bool isId = error == std::errc{} && stop == end;
    return word == interface.mName || (isId && id == interface.mId);
}

std::vector<const Interface*> fitting(const std::vector<std::string>& words, const BusState& state)
{
    std::vector<const Interface*> found;
    for (const Interface& interface : state.mInterfaces) {
        if (std::ranges::any_of(words, [&](const std::string& word) { return fits(word, interface); })) {
            found.push_back(&interface);
        }
    }
    return found;
}

/// Those of the words that fit none, for a complaint.
std::string missing(const std::vector<std::string>& words, const std::vector<const Interface*>& found)
{
    std::string text;
    for (const std::string& word : words) {
        if (std::ranges::none_of(found, [&](const Interface* interface) { return fits(word, *interface); })) {
            appendQuoted(text, word);
        }
    }
    return text;
}

} // namespace

ExitStatus runShow(const ShowOptions& options, std::ostream& out)
{
    const BusState state = readSource(options.mSource, {.mFunctions = true, .mProcesses = true});
    const auto found = fitting(options.mWords, state);
    if (options.mJson) {
        writeInterfaceJson(out, found, state);
    } else {
        out << interfaceTree(found, state, options.mLook);
    }
    const std::string absent = missing(options.mWords, found);
    if (!absent.empty()) {
        complain("no such interface: " + absent);
    }
    return absent.empty() ? eExitYes : eExitNo;
}

} // namespace Inspect
