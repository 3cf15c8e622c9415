#include "inspect/check/check.h"

#include "inspect/contract/contract.h"
#include "inspect/json/json_rows.h"
#include "inspect/table/cells.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>

namespace Inspect {

namespace {

constexpr auto cCheckSchema = "zunic-bus-check/1"; ///< as docs/bus_check.schema.json tells it

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

std::string tableOf(const std::vector<Finding>& findings, const TableLook& look)
{
    Table table({{"SEVERITY", Kind::eWord},
                 {"CODE", Kind::eWord},
                 {"WHAT", Kind::eWord},
                 {"ID", Kind::eNumber},
                 {"NAME"},
                 {"EVIDENCE"},
                 {"LOOK AT"}},
                look);
    for (const Finding& finding : findings) {
        table.addLine({{severityWord(finding.mSeverity), colorOf(finding.mSeverity)},
                       {finding.mCode},
                       {subjectWord(finding.mSubject.mKind)},
                       idCell(finding.mSubject),
                       {finding.mSubject.mName},
                       {finding.mEvidence, nullptr, Blanks::eKept},
                       {finding.mAdvice, nullptr, Blanks::eKept}});
    }
    return table.text();
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
    std::ifstream in(file, std::ios::binary);
    if (!in.is_open()) {
        throw NoState(file + ": " + std::strerror(errno));
    }
    try {
        return readContract(in);
    } catch (const NoState& error) {
        throw NoState(file + ": " + error.what());
    }
}

/// With a contract, a stub without a provider is no matter of taste any more.
void addBreaches(const Contract& contract, const BusState& state, std::vector<Finding>& findings)
{
    for (Finding& finding : findings) {
        if (finding.mCode == std::string_view("no-provider")) {
            finding.mSeverity = Severity::eError;
        }
    }
    const std::vector<Finding> breaches = compareWithContract(contract, state);
    findings.insert(findings.begin(), breaches.begin(), breaches.end());
    std::ranges::stable_sort(findings, std::ranges::greater(), &Finding::mSeverity);
}

} // namespace

Json toJson(const Finding& finding)
{
    const Subject& subject = finding.mSubject;
    Json about{{"kind", subjectWord(subject.mKind)}};
    if (subject.mKind != SubjectKind::eBus) {
        about["id"] = subject.mId;
    }
    if (subject.mKind != SubjectKind::eBus || !subject.mName.empty()) {
        about["name"] = nameToJson(subject.mName);
    }
    return {{"code", finding.mCode},
            {"severity", severityWord(finding.mSeverity)},
            {"about", std::move(about)},
            {"evidence", nameToJson(finding.mEvidence)},
            {"look_at", finding.mAdvice}};
}

ExitStatus runCheck(const CheckOptions& options, std::ostream& out)
{
    std::optional<Contract> contract;
    if (!options.mContract.empty()) {
        contract = readContractFile(options.mContract);
    }
    const std::vector<BusState> looks = takeLooks(options.mSource);
    std::vector<Finding> findings = findAll(looks.back(), looks.size() > 1 ? &looks.front() : nullptr);
    if (contract) {
        addBreaches(*contract, looks.back(), findings);
    }
    std::erase_if(findings, [&](const Finding& finding) {
        return std::ranges::find(options.mIgnored, finding.mCode) != options.mIgnored.end();
    });
    if (options.mJson) {
        writeJson(findings, out);
    } else if (findings.empty()) {
        complain("no findings");
    } else {
        out << tableOf(findings, options.mLook);
    }
    const bool isFailed =
        std::ranges::any_of(findings, [&](const Finding& finding) { return finding.mSeverity >= options.mFailOn; });
    return isFailed ? eExitNo : eExitYes;
}

const FindingKind* findingKind(const std::string& code)
{
    for (const auto kinds : {findingKinds(), contractKinds()}) {
        const auto found = std::ranges::find(kinds, code, &FindingKind::mCode);
        if (found != kinds.end()) {
            return &*found;
        }
    }
    return nullptr;
}

void explain(const FindingKind& kind, std::ostream& out)
{
    out << kind.mCode << " (at most " << severityWord(kind.mSeverity) << ")\n\n"
        << "True when: " << kind.mDefinition << "\nWhy it matters: " << kind.mReason
        << "\nFalse alarms: " << kind.mFalseAlarms << '\n';
}

const char* severityWord(Severity severity)
{
    switch (severity) {
    case Severity::eError:
        return "error";
    case Severity::eWarning:
        return "warning";
    case Severity::eNote:
        break;
    }
    return "note";
}

const char* subjectWord(SubjectKind kind)
{
    switch (kind) {
    case SubjectKind::eInterface:
        return "interface";
    case SubjectKind::eCommunicator:
        return "communicator";
    case SubjectKind::eProcess:
        return "process";
    case SubjectKind::eMemoryManager:
        return "memory";
    case SubjectKind::eSlot:
        return "slot";
    case SubjectKind::eBus:
        break;
    }
    return "bus";
}

} // namespace Inspect
