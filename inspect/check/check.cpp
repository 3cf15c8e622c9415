#include "inspect/check/check.h"

#include "inspect/json/json_rows.h"
#include "inspect/table/cells.h"

#include <algorithm>

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

Json toJson(const Finding& finding)
{
    const Subject& subject = finding.mSubject;
    Json about{{"kind", subjectWord(subject.mKind)}};
    if (subject.mKind != SubjectKind::eBus) {
        about["id"] = subject.mId;
        about["name"] = nameToJson(subject.mName);
    }
    return {{"code", finding.mCode},
            {"severity", severityWord(finding.mSeverity)},
            {"about", std::move(about)},
            {"evidence", nameToJson(finding.mEvidence)},
            {"look_at", finding.mAdvice}};
}

void writeJson(const std::vector<Finding>& findings, std::ostream& out)
{
    JsonRows rows(out, cCheckSchema, "findings");
    for (const Finding& finding : findings) {
        rows.add(toJson(finding));
    }
    rows.end();
}

} // namespace

ExitStatus runCheck(const CheckOptions& options, std::ostream& out)
{
    const std::vector<BusState> looks = takeLooks(options.mSource);
    std::vector<Finding> findings = findAll(looks.back(), looks.size() > 1 ? &looks.front() : nullptr);
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
    const auto kinds = findingKinds();
    const auto found = std::ranges::find(kinds, code, &FindingKind::mCode);
    return found == kinds.end() ? nullptr : &*found;
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
