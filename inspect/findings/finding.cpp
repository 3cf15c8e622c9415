#include "inspect/findings/finding.h"

#include <nlohmann/json.hpp>

namespace Inspect {

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
    return {{"code", finding.mKind->mCode},
            {"severity", severityWord(finding.mSeverity)},
            {"about", std::move(about)},
            {"evidence", nameToJson(finding.mEvidence)},
            {"look_at", finding.mKind->mAdvice}};
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
