#include "inspect/check/check.h"
#include "inspect/command_line/options.h"

#include <memory>

namespace Inspect {

namespace {

struct CheckCommandLine
{
    CheckOptions mOptions;
    std::string mExplained; ///< a code; empty: check
};

std::string codesHelp()
{
    std::string text = "Codes, each with the gravest severity that it can have:";
    for (const FindingKind& kind : findingKinds()) {
        std::string code = kind.mCode;
        code.resize(20, ' ');
        text += "\n  " + code + severityWord(kind.mSeverity);
    }
    return text;
}

const FindingKind& requireKind(const char* option, const std::string& code)
{
    if (const FindingKind* const kind = findingKind(code)) {
        return *kind;
    }
    throw UsageMistake(std::string(option) + ": there is no finding \"" + code + "\" (see --help)");
}

void addFailOnOption(CLI::App& part, CheckOptions& options)
{
    part.add_option_function<std::string>(
            "--fail-on",
            [&options](const std::string& word) {
                for (const Severity severity : {Severity::eNote, Severity::eWarning, Severity::eError}) {
                    if (word == severityWord(severity)) {
                        options.mFailOn = severity;
                    }
                }
            },
            "Exit status 1 if there is an error, a warning or worse, or a note or worse (error)")
        ->check(CLI::IsMember({"error", "warning", "note"}).description(""))
        ->type_name("SEVERITY");
}

ExitStatus run(const CheckCommandLine& line, std::ostream& out)
{
    for (const std::string& code : line.mOptions.mIgnored) {
        requireKind("--ignore", code);
    }
    if (line.mExplained.empty()) {
        return runCheck(line.mOptions, out);
    }
    explain(requireKind("--explain", line.mExplained), out);
    return eExitYes;
}

Run addCheckOptions(CLI::App& part)
{
    const auto line = std::make_shared<CheckCommandLine>();
    CheckOptions& options = line->mOptions;
    addLookSourceOptions(part, options.mSource);
    part.add_flag("--json", options.mJson, "JSON instead of a table");
    addFailOnOption(part, options);
    part.add_option("--ignore", options.mIgnored, "Leave out this finding; may be given again")
        ->type_name("CODE")
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    part.add_option("--explain", line->mExplained, "Tell what a finding means, and do not look at all")
        ->type_name("CODE");
    addLookOptions(part, options.mLook);
    part.footer(codesHelp());
    return [line](std::ostream& out) { return run(*line, out); };
}

} // namespace

const Command cCheckCommand{"check", "Tell what is wrong with a bus",
                            "  zunic_inspect check                            two looks, two seconds apart\n"
                            "  zunic_inspect check --fail-on warning --again 0 one look, strict, for a build\n"
                            "  zunic_inspect check --from a.json --from b.json two saved states, the older one first\n"
                            "  zunic_inspect check --explain stuck-slot        what that means\n",
                            addCheckOptions};

} // namespace Inspect
