// Reads its input, by its first byte, as the words of a command line or as a scenario file.

#include "app/option_table.h"
#include "app/query_filters.h"
#include "message_layout.h"
#include "scenario_reader.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <list>
#include <string>
#include <string_view>
#include <vector>

namespace {

void require(bool condition, const char* what)
{
    if (!condition) {
        std::cerr << "Broken: " << what << std::endl;
        std::abort();
    }
}

/// The words that NUL ends, as in /proc/<pid>/cmdline.
std::vector<std::string> splitWords(std::string_view text)
{
    std::vector<std::string> words;
    while (!text.empty()) {
        const std::size_t length = std::min(text.find('\0'), text.size());
        words.emplace_back(text.substr(0, length));
        text.remove_prefix(std::min(length + 1, text.size()));
    }
    return words;
}

/// Everything that the program can learn from the option.
std::string describe(const OxaCommandLineOptionString& option)
{
    const char* value = nullptr;
    const OxaResult result = option.getArgumentValue(value);
    require(option.isSet() == (result == OxaResult::cOk) && option.isSet() == (value != nullptr),
            "an option has a value exactly when it is set");
    return value ? std::string("set to ").append(value) : "not set";
}

std::list<std::string> describe(const OptionTable& options)
{
    std::list<std::string> description;
    for (const OxaCommandLineOption* flag : {&options.mNoBackup, &options.mDot, &options.mConsoleLog}) {
        description.emplace_back(flag->isSet() ? "set" : "not set");
    }
    for (const auto* option : {&options.mOutputDirectory, &options.mInterfaceName, &options.mRoleName,
                               &options.mDomainName, &options.mInterfaceType, &options.mRegistrationState}) {
        description.push_back(describe(*option));
    }
    require(options.mChannelName->getValues(description) == OxaResult::cOk, "the channel names can be had");
    return description;
}

void readCommandLine(std::string_view text)
{
    std::vector<std::string> words = splitWords(text);
    std::vector<char*> arguments(words.size() + 1); // with a null behind the last one
    std::ranges::transform(words, arguments.begin(), [](std::string& word) { return word.data(); });
    auto count = static_cast<int>(words.size());

    OptionTable options;
    const std::list<std::string> nothing = describe(options);
    const OxaResult first = options.mParser.parse(count, arguments.data());
    const std::list<std::string> read = describe(options);
    require(first == OxaResult::cOk || read == nothing, "nothing is set by a command line that is not acceptable");
    const OxaResult second = options.mParser.parse(count, arguments.data());
    require(first == second && read == describe(options), "a parser gives the same answer twice");

    Oxa::InterfaceInstanceType type{};
    OxaZunic::OxaZunicRegistrationState state{};
    for (const std::string& word : words) {
        getInterfaceType(word.c_str(), type);
        getRegistrationState(word.c_str(), state);
    }
}

void readScenario(std::string_view text)
{
    try {
        const ZunicDemo::Scenario scenario = ZunicDemo::readScenario(text, "fuzz.json");
        require(summary(scenario).find('\n') == std::string::npos, "a summary is one line");
        for (const ZunicDemo::PlacedSlot& placed : layOutMessages(scenario)) {
            require(placed.index < scenario.messageSlots, "a message lies inside the message storage");
        }
    } catch (const ZunicDemo::ScenarioMistake& mistake) {
        const std::string_view what = mistake.what();
        require(what.starts_with("fuzz.json:"), "a mistake names the file");
        require(what.find('\n') == std::string_view::npos, "a mistake is one line");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    if (text.starts_with('c')) {
        readCommandLine(text.substr(1));
    } else if (text.starts_with('s')) {
        readScenario(text.substr(1));
    }
    return 0;
}
