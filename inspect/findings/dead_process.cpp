#include "inspect/findings/rule.h"

#include <map>

namespace Inspect {

namespace {

struct Registration
{
    const Communicator* mCommunicator;
    std::vector<std::uint16_t> mIds; ///< of all its communicators
};

/// In the look before, the same communicator of the same process.
const Communicator* sameBefore(const Looks& looks, const Communicator& communicator)
{
    const Communicator* const before =
        looks.mBefore == nullptr ? nullptr : looks.mBefore->communicatorWithId(communicator.mId);
    return before != nullptr && before->mProcessId == communicator.mProcessId ? before : nullptr;
}

bool isAnotherProcess(const Communicator& now, const Communicator* before)
{
    return before != nullptr && before->mProcess.mStartedAfterBoot && now.mProcess.mStartedAfterBoot &&
           before->mProcess.mStartedAfterBoot != now.mProcess.mStartedAfterBoot;
}

void find(const Looks& looks, Report& report)
{
    // A process may have taken back its registration and ended before it was asked about.
    std::map<std::uint32_t, Registration> processes;
    for (const Communicator& communicator : looks.mNow.state().mCommunicators) {
        if (looks.mBefore == nullptr || sameBefore(looks, communicator) != nullptr) {
            Registration& registration = processes.try_emplace(communicator.mProcessId).first->second;
            registration.mCommunicator = &communicator;
            registration.mIds.push_back(communicator.mId);
        }
    }
    for (const auto& [id, registration] : processes) {
        const Process& process = registration.mCommunicator->mProcess;
        const Subject subject{SubjectKind::eProcess, id, process.mApplication.value_or("")};
        const std::string communicators = "communicators " + listed(registration.mIds);
        if (process.mLiving == Living::eUnknown) {
            report.add(Severity::eNote, subject, "unknown; " + communicators);
        } else if (process.mLiving == Living::eNo) {
            report.add(subject, "no such process; " + communicators);
        } else if (isAnotherProcess(*registration.mCommunicator, sameBefore(looks, *registration.mCommunicator))) {
            report.add(subject, "the id belongs to another process now; " + communicators);
        }
    }
}

} // namespace

extern const Rule cDeadProcess{
    {"dead-process", Severity::eError,
     "A communicator is registered, but its process does not exist, is a zombie, or has another start time than in the "
     "first look.",
     "Its interfaces are still registered, but nothing answers.",
     "With one look only: a process that unregisters and exits at that moment. If /proc hides the process or its start "
     "time from this user, the finding is a note.",
     "Find out why it ended (journal, core dump), and restart it or have its registration removed."},
    find};

} // namespace Inspect
