#include "inspect/commands/diff.h"

#include "inspect/changes/wording.h"
#include "inspect/cli/printable.h"
#include "inspect/commands/line_limit.h"
#include "inspect/commands/shared_options.h"
#include "inspect/commands/source.h"
#include "inspect/saved/json_text.h"

#include <memory>

namespace Inspect {

namespace {

/// The first line, where the machine may be what differs rather than the bus.
void writeHosts(std::ostream& out, const BusState& before, const BusState& now)
{
    if (before.mHost != now.mHost && !before.mHost.empty() && !now.mHost.empty()) {
        out << "# different machines: " << printable(before.mHost) << " and " << printable(now.mHost) << '\n';
    }
}

Json whereAndWhen(const BusState& state)
{
    return {{"channel", nameToJson(state.mChannel)}, {"taken_at", utcText(state.mTakenAt)}};
}

/// Writes the changes that are not ignored, each when it is found. Returns whether there are any.
bool writeChanges(std::ostream& out, const BusState& before, const BusState& now, const DiffOptions& options)
{
    bool isAny = false;
    LineLimit limit(options.mIsWhole);
    forEachChange(before, now, Traffic::eTold, [&](const Change& change) {
        if (options.mChanges.isIgnored(change)) {
            return;
        }
        if (options.mChanges.mJson) {
            out << (isAny ? ",\n" : "\n") << jsonText(toJson(change));
        } else if (limit.admits(kindWord(change.mKind))) {
            const std::string line = lineOf(change);
            out << (options.mChanges.mColors ? colored(line) : line) << '\n';
        }
        isAny = true;
    });
    for (const std::string& remark : limit.remarks()) {
        out << "# " << remark << '\n';
    }
    return isAny;
}

void addFile(CLI::App& part, const char* name, std::string& file, const char* meaning)
{
    part.add_option(name, file, meaning)
        ->type_name("")
        ->check(complaintAboutFile, "")
        ->multi_option_policy(CLI::MultiOptionPolicy::Throw);
}

Run addDiffOptions(CLI::App& part)
{
    const auto options = std::make_shared<DiffOptions>();
    addFile(part, "A", options->mBefore, "The older state (\"-\": standard input)");
    addFile(part, "B", options->mNow, "The newer state (default: the live bus)");
    part.get_option("A")->required();
    addChannelOption(part, options->mChannel)->excludes(part.get_option("B"));
    part.add_flag("--all", options->mIsWhole, "Print all changes, not only the first 100 of each kind");
    addChangeOptions(part, options->mChanges, "Print one JSON document instead of lines");
    part.footer("+ marks what was added, - what was removed, ~ what changed or was restarted\n"
                "(the same name and place with another id).\n\n"
                "The exit status is 0 if nothing differs and 1 if something does.");
    return [options](std::ostream& out) {
        if (options->mBefore == "-" && options->mNow == "-") {
            throw UsageMistake("cannot read both states from standard input");
        }
        return runDiff(*options, out);
    };
}

} // namespace

ExitStatus runDiff(const DiffOptions& options, std::ostream& out)
{
    const BusState before = readSource({.mChannel = {}, .mFrom = options.mBefore}, Wanted::everything());
    const BusState now = readSource({.mChannel = options.mChannel, .mFrom = options.mNow}, Wanted::everything());
    bool isAny = false;
    if (options.mChanges.mJson) {
        out << "{\"schema\":" << jsonText(cDiffSchema) << ",\n\"before\":" << jsonText(whereAndWhen(before))
            << ",\n\"now\":" << jsonText(whereAndWhen(now)) << ",\n\"changes\":[";
        isAny = writeChanges(out, before, now, options);
        out << "\n]}\n";
    } else {
        writeHosts(out, before, now);
        isAny = writeChanges(out, before, now, options);
    }
    return isAny ? eExitNo : eExitYes;
}

void addChangeOptions(CLI::App& part, ChangeOptions& options, const char* jsonMeaning)
{
    std::vector<std::string> words;
    for (std::size_t kind = 0; kind < cChangeKinds; ++kind) {
        words.emplace_back(kindWord(static_cast<ChangeKind>(kind)));
    }
    const auto ignore = [&options, words](const std::vector<std::string>& given) {
        for (std::size_t kind = 0; kind < cChangeKinds; ++kind) {
            options.mIsIgnored.at(kind) = std::ranges::count(given, words[kind]) > 0;
        }
    };
    part.add_option_function<std::vector<std::string>>(
            "--ignore", ignore, "Ignore process, interface, link, memory or messages (comma-separated)")
        ->check(CLI::IsMember(words).description(""))
        ->delimiter(',')
        ->allow_extra_args(false)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
        ->type_name("KIND,...");
    part.add_flag("--json", options.mJson, jsonMeaning);
    addColorOption(part, options.mColors);
}

const Command cDiffCommand{"diff", "Show the differences between two states of a bus",
                           "  zunic_inspect diff monday.json               changes since then\n"
                           "  zunic_inspect diff monday.json tuesday.json  changes between two saved states\n"
                           "  zunic_inspect diff good.json --ignore messages,memory && echo unchanged\n",
                           addDiffOptions};

} // namespace Inspect
