#include "inspect/commands/shared_options.h"

#include "inspect/bus/words.h"
#include "inspect/cli/command.h"
#include "inspect/cli/durations.h"
#include "inspect/findings/findings.h"

#include <algorithm>
#include <string_view>

namespace Inspect {

namespace {

CLI::Option* addPattern(CLI::App& part, const char* option, std::optional<std::string>& pattern, const char* meaning)
{
    return part.add_option(option, pattern, meaning)->type_name("PATTERN")->group("Filters");
}

/// An option for one of the words, or for another text: none of them.
void addWord(CLI::App& part, const char* option, std::optional<std::uint32_t>& number, Words meanings,
             std::vector<std::string> words, const char* meaning)
{
    part.add_option_function<std::string>(
            option, [&number, meanings](const std::string& word) { number = numberFor(meanings, word); }, meaning)
        ->check(CLI::IsMember(std::move(words)).description(""))
        ->type_name("WORD")
        ->group("Filters");
}

void addLook(LookSource& source, const std::string& file)
{
    if (source.mFrom.size() == 2) {
        throw UsageMistake("--from: at most two states, the older one first");
    }
    if (file == "-" && std::ranges::count(source.mFrom, file) > 0) {
        throw UsageMistake("--from: only one of two states can be read from standard input");
    }
    source.mFrom.push_back(file);
}

} // namespace

void addSourceOptions(CLI::App& part, SourceOptions& source)
{
    CLI::Option* const channel = addChannelOption(part, source.mChannel);
    part.add_option("--from", source.mFrom, "Read this saved state instead of a channel (\"-\": standard input)")
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
            "Read this saved state instead of a channel (\"-\": standard input); give two for two looks, the older one "
            "first")
        ->type_name("FILE")
        ->check(complaintAboutFile, "")
        ->trigger_on_parse()
        ->excludes(channel);
    part.add_option_function<std::string>(
            "--again",
            [&source](const std::string& text) {
                source.mAgain = readDuration("--again", text).value_or(std::chrono::milliseconds(0));
            },
            "Take a second look after this time, for findings that show only over time: 2s, 500ms; 0 for one look "
            "(default: 2s)")
        ->type_name("TIME");
}

void addFilterOptions(CLI::App& part, InterfaceFilter& filter)
{
    addPattern(part, "--role", filter.mRole, "Only roles that match the shell pattern");
    addPattern(part, "--domain", filter.mDomain, "Only domains that match the shell pattern");
    addPattern(part, "--app", filter.mOwner.mApplication, "Only applications that match the shell pattern");
    part.add_option("--pid", filter.mOwner.mProcessId, "Only the process with this id")
        ->type_name("PID")
        ->group("Filters");
    addWord(part, "--type", filter.mType, cTypeWords, {"skeleton", "stub"},
            "Only this type: skeleton (provides) or stub (uses)");
    addWord(part, "--state", filter.mState, cStateWords, {"registered", "preregistered", "any"},
            "Only this state: registered, preregistered (required) or any");
}

void addStyleOptions(CLI::App& part, TableStyle& style)
{
    part.add_flag(
        "--noheadings", [&style](std::int64_t) { style.mHeadings = false; }, "Print no headings");
    addColorOption(part, style.mColors);
}

const FindingKind& readFindingKind(const char* option, const std::string& code)
{
    if (const FindingKind* const kind = findingKind(code)) {
        return *kind;
    }
    throw UsageMistake(std::string(option) + ": unknown finding \"" + code + "\" (see --help)");
}

} // namespace Inspect
