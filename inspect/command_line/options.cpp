#include "inspect/command_line/options.h"

#include "inspect/command_line/command.h"
#include "inspect/command_line/durations.h"
#include "inspect/words/words.h"

#include <cstdlib>
#include <string_view>
#include <unistd.h>

namespace Inspect {

namespace {

bool isSet(const char* variable)
{
    const char* const value = std::getenv(variable);
    return value != nullptr && *value != '\0';
}

bool isColorTerminal()
{
    return isatty(STDOUT_FILENO) != 0 && !isSet("NO_COLOR") && isSet("TERM") &&
           std::string_view(std::getenv("TERM")) != "dumb";
}

bool areColorsWanted(const std::string& choice)
{
    return choice == "always" || (choice == "auto" && isColorTerminal());
}

CLI::Option* addPattern(CLI::App& part, const char* option, std::optional<std::string>& pattern, const char* meaning)
{
    return part.add_option(option, pattern, meaning)->type_name("PATTERN")->group("Filters");
}

/// An option for one of the words, of which `numberOf` knows the number.
void addWord(CLI::App& part, const char* option, std::optional<std::uint32_t>& number,
             std::optional<std::uint32_t> (*numberOf)(std::string_view), std::vector<std::string> words,
             const char* meaning)
{
    part.add_option_function<std::string>(
            option, [&number, numberOf](const std::string& word) { number = numberOf(word); }, meaning)
        ->check(CLI::IsMember(std::move(words)).description(""))
        ->type_name("WORD")
        ->group("Filters");
}

void addLook(LookSource& source, const std::string& file)
{
    if (source.mFrom.size() == 2) {
        throw UsageMistake("--from: two states at most, the older one first");
    }
    source.mFrom.push_back(file);
}

} // namespace

void addWords(CLI::App& part, std::vector<std::string>& words, const char* names, const char* meaning)
{
    // Where any number of words may stand, CLI11 would take "[a,b]" for two of them, lose empty ones, and not know what
    // to do with those behind "--". Where it expects more than there can be, it takes each as it is.
    constexpr int cMore = 1 << 24;
    const auto take = [&part, &words, names](const std::vector<std::string>& given) {
        words = given;
        part.get_option(names)->expected(1); // Once they are there, any number will do.
    };
    CLI::Option* const option = part.add_option_function<std::vector<std::string>>(names, take, meaning);
    option->required()->expected(cMore)->allow_extra_args(false);
    option->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)->type_name("");
}

CLI::Option* addChannelOption(CLI::App& part, std::string& channel)
{
    return part.add_option("-c,--channel", channel, "The channel to look into (OXABus)")->type_name("NAME");
}

std::string complaintAboutFile(const std::string& file)
{
    return file.empty() ? "expected the name of a file" : "";
}

void addSourceOptions(CLI::App& part, SourceOptions& source)
{
    CLI::Option* const channel = addChannelOption(part, source.mChannel);
    part.add_option("--from", source.mFrom, "Look into this saved state instead; \"-\" is standard input")
        ->type_name("FILE")
        ->check(complaintAboutFile, "")
        ->excludes(channel);
}

void addLookSourceOptions(CLI::App& part, LookSource& source)
{
    CLI::Option* const channel = addChannelOption(part, source.mChannel);
    // CLI11 would keep the last one, or take two apart at a comma in a name.
    part.add_option_function<std::string>(
            "--from", [&source](const std::string& file) { addLook(source, file); },
            "Look into this saved state instead, \"-\" for standard input; twice: two looks, the older one first")
        ->type_name("FILE")
        ->check(complaintAboutFile, "")
        ->trigger_on_parse()
        ->excludes(channel);
    part.add_option_function<std::string>(
            "--again",
            [&source](const std::string& text) {
                source.mAgain = readDuration("--again", text).value_or(std::chrono::milliseconds(0));
            },
            "Look a second time after this, for what shows only over time: 2s, 500ms; 0: one look (2s)")
        ->type_name("TIME");
}

void addFilterOptions(CLI::App& part, InterfaceFilter& filter)
{
    addPattern(part, "--role", filter.mRole, "Role names like this");
    addPattern(part, "--domain", filter.mDomain, "Domain names like this");
    addPattern(part, "--app", filter.mOwner.mApplication, "Applications like this");
    part.add_option("--pid", filter.mOwner.mProcessId, "The process with this id")->type_name("PID")->group("Filters");
    addWord(part, "--type", filter.mType, typeOf, {"skeleton", "stub"}, "skeleton (provides) or stub (uses)");
    addWord(part, "--state", filter.mState, stateOf, {"registered", "preregistered", "any"},
            "registered, preregistered (required) or any");
}

void addColorOption(CLI::App& part, bool& areWanted)
{
    areWanted = areColorsWanted("auto");
    part.add_option_function<std::string>(
            "--color", [&areWanted](const std::string& choice) { areWanted = areColorsWanted(choice); },
            "auto (on a terminal, unless NO_COLOR is set), always or never")
        ->check(CLI::IsMember({"auto", "always", "never"}).description(""))
        ->type_name("WHEN");
}

void addLookOptions(CLI::App& part, TableLook& look)
{
    part.add_flag(
        "--noheadings", [&look](std::int64_t) { look.mHeadings = false; }, "Leave out the headings");
    addColorOption(part, look.mColors);
}

} // namespace Inspect
