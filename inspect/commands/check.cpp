#include "inspect/commands/check.h"

#include "inspect/commands/line_limit.h"
#include "inspect/commands/shared_options.h"
#include "inspect/findings/contract/compare_contract.h"
#include "inspect/saved/json_rows.h"
#include "inspect/saved/read_file.h"
#include "inspect/view/cells.h"

#include <algorithm>
#include <memory>

namespace Inspect {

namespace {

constexpr auto cCheckSchema = "zunic-bus-check/1"; ///< described in docs/bus_check.schema.json

const char* colorOf(Severity severity)
{
    switch (severity) {
    case Severity::eError:
        return cBadColor;
    case Severity::eWarning:
        return cUneasyColor;
    case Severity::eNote:
        break;
    }
    return nullptr;
}

Cell idCell(const Subject& subject)
{
    return subject.mKind == SubjectKind::eBus ? Cell{} : numberCell(subject.mId);
}

/// What is left out is said on standard error: a script takes each line of the table for a finding.
void writeTable(std::ostream& out, const std::vector<Finding>& findings, const TableStyle& style)
{
    LineLimit limit(style.mIsWhole);
    Table table({{"SEVERITY", ColumnKind::eWord},
                 {"CODE", ColumnKind::eWord},
                 {"WHAT", ColumnKind::eWord},
                 {"ID", ColumnKind::eNumber},
                 {"NAME"},
                 {"EVIDENCE"},
                 {"ADVICE"}},
                style);
    for (const Finding& finding : findings) {
        if (limit.admits(finding.mKind->mCode)) {
            table.addLine({{severityWord(finding.mSeverity), colorOf(finding.mSeverity)},
                           {finding.mKind->mCode},
                           {subjectWord(finding.mSubject.mKind)},
                           idCell(finding.mSubject),
                           {finding.mSubject.mName},
                           {finding.mEvidence, nullptr, Text::eOwn},
                           {finding.mKind->mAdvice, nullptr, Text::eOwn}});
        }
    }
    out << table.text() << std::flush;
    for (const std::string& remark : limit.remarks()) {
        complain(remark);
    }
}

void writeJson(const std::vector<Finding>& findings, std::ostream& out)
{
    JsonRows rows(out, cCheckSchema, "findings");
    for (const Finding& finding : findings) {
        rows.add(toJson(finding));
    }
    rows.end();
}

Contract readContractFile(const std::string& file)
{
    Contract contract;
    readFile(file, [&](std::istream& in) { contract = readContract(in); });
    return contract;
}

struct CheckCommandLine
{
    CheckOptions mOptions;
    const FindingKind* mExplained = nullptr; ///< null: check
};

std::string codesHelp()
{
    std::string text = "Codes, with their highest severity:";
    for (const auto kinds : {findingKinds(), contractKinds()}) {
        for (const FindingKind* const kind : kinds) {
            std::string code = kind->mCode;
            code.resize(22, ' ');
            text += "\n  " + code + severityWord(kind->mSeverity);
        }
    }
    return text;
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
            "Exit with status 1 if a finding has at least this severity: error, warning or note (default: error)")
        ->check(CLI::IsMember({"error", "warning", "note"}).description(""))
        ->type_name("SEVERITY");
}

ExitStatus run(const CheckCommandLine& line, std::ostream& out)
{
    if (line.mExplained == nullptr) {
        return runCheck(line.mOptions, out);
    }
    explain(*line.mExplained, out);
    return eExitYes;
}

Run addCheckOptions(CLI::App& part)
{
    const auto line = std::make_shared<CheckCommandLine>();
    CheckOptions& options = line->mOptions;
    addLookSourceOptions(part, options.mSource);
    part.add_flag("--json", options.mJson, "Print JSON instead of a table");
    addFailOnOption(part, options);
    part.add_option_function<std::vector<std::string>>(
            "--ignore",
            [&options](const std::vector<std::string>& codes) {
                for (const std::string& code : codes) {
                    options.mIgnored.push_back(&readFindingKind("--ignore", code));
                }
            },
            "Ignore findings with this code; repeatable")
        ->type_name("CODE")
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    part.add_option("--expect", options.mContract,
                    "Check against this contract as well, \"-\" for standard input (see save --as-contract)")
        ->type_name("FILE")
        ->check(complaintAboutFile, "");
    part.add_option_function<std::string>(
            "--explain", [line](const std::string& code) { line->mExplained = &readFindingKind("--explain", code); },
            "Explain a finding and exit")
        ->type_name("CODE");
    part.add_flag("--all", options.mStyle.mIsWhole,
                  "Print all findings, not only the first 100 of each code, and lines whole");
    addStyleOptions(part, options.mStyle);
    part.footer(codesHelp());
    return [line](std::ostream& out) {
        if (line->mOptions.mContract == "-" && std::ranges::count(line->mOptions.mSource.mFrom, "-") > 0) {
            throw UsageMistake("--expect and --from cannot both read standard input");
        }
        return run(*line, out);
    };
}

} // namespace

ExitStatus runCheck(const CheckOptions& options, std::ostream& out)
{
    std::optional<Contract> contract;
    if (!options.mContract.empty()) {
        contract = readContractFile(options.mContract);
    }
    const std::vector<BusState> looks = takeLooks(options.mSource);
    const BusIndex now(looks.back());
    const BusIndex before(looks.front());
    std::vector<Finding> findings = findAll(now, looks.size() > 1 ? &before : nullptr);
    if (contract) {
        addBreaches(*contract, now, findings);
    }
    std::erase_if(findings, [&](const Finding& finding) {
        return std::ranges::find(options.mIgnored, finding.mKind) != options.mIgnored.end();
    });
    if (options.mJson) {
        writeJson(findings, out);
    } else if (findings.empty()) {
        complain("no findings");
    } else {
        writeTable(out, findings, options.mStyle);
    }
    const bool isFailed =
        std::ranges::any_of(findings, [&](const Finding& finding) { return finding.mSeverity >= options.mFailOn; });
    return isFailed ? eExitNo : eExitYes;
}

void explain(const FindingKind& kind, std::ostream& out)
{
    out << kind.mCode << " (highest severity: " << severityWord(kind.mSeverity) << ")\n\n"
        << "Reported when: " << kind.mDefinition << "\nWhy it matters: " << kind.mReason
        << "\nFalse alarms: " << kind.mFalseAlarms << '\n';
}

const Command cCheckCommand{"check", "Check a bus for problems",
                            "  zunic_inspect check                             two looks, two seconds apart\n"
                            "  zunic_inspect check --fail-on warning --again 0 one look; warnings fail\n"
                            "  zunic_inspect check --expect contract.json      also check against a contract\n"
                            "  zunic_inspect check --from a.json --from b.json two saved states\n"
                            "  zunic_inspect check --explain stuck-slot        explain a finding\n",
                            addCheckOptions};

} // namespace Inspect
