#include "inspect/cli/options.h"

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
    return part.add_option("-c,--channel", channel, "Channel to read (default: OXABus)")->type_name("NAME");
}

std::string complaintAboutFile(const std::string& file)
{
    return file.empty() ? "expected a file name" : "";
}

void addColorOption(CLI::App& part, bool& areWanted)
{
    areWanted = areColorsWanted("auto");
    part.add_option_function<std::string>(
            "--color", [&areWanted](const std::string& choice) { areWanted = areColorsWanted(choice); },
            "Use colors: auto (on a terminal, unless NO_COLOR is set; the default), always or never")
        ->check(CLI::IsMember({"auto", "always", "never"}).description(""))
        ->type_name("WHEN");
}

} // namespace Inspect
