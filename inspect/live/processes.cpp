#include "inspect/live/processes.h"

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <limits>
#include <map>
#include <sstream>
#include <unistd.h>

namespace Inspect {

namespace {

/// Whether there is such a process, as far as this user can see it without /proc.
Living livingById(std::uint32_t processId)
{
    if (processId == 0 || processId > static_cast<std::uint32_t>(std::numeric_limits<pid_t>::max())) {
        return Living::eNo; // What would address a group of processes names none.
    }
    if (kill(static_cast<pid_t>(processId), 0) == 0 || errno == EPERM) {
        return Living::eYes;
    }
    return errno == ESRCH ? Living::eNo : Living::eUnknown;
}

/// The fields of /proc/<pid>/stat from the third on: in front of them stands the program's name in parentheses, which
/// may hold anything, parentheses too.
struct Stat
{
    char mState = 0;
    std::uint64_t mStartTicks = 0;
};

std::optional<Stat> readStat(const std::filesystem::path& folder)
{
    std::ifstream file(folder / "stat");
    std::string text;
    std::getline(file, text, '\0'); // Unlike an iterator, does not throw if the process exits before the read.
    const std::size_t nameEnd = text.rfind(')');
    if (nameEnd == std::string::npos) {
        return {};
    }
    std::istringstream fields(text.substr(nameEnd + 1));
    Stat stat;
    fields >> stat.mState;
    std::string skipped;
    for (int field = 4; field < 22; ++field) {
        fields >> skipped;
    }
    fields >> stat.mStartTicks;
    return fields ? std::optional(stat) : std::nullopt;
}

} // namespace

Process lookUpProcess(std::uint32_t processId)
{
    Process process;
    process.mLiving = livingById(processId);
    const std::filesystem::path folder = "/proc/" + std::to_string(processId);
    if (process.mLiving == Living::eNo) {
        return process;
    }
    const std::optional<Stat> stat = readStat(folder);
    if (!stat) {
        process.mLiving = livingById(processId) == Living::eNo ? Living::eNo : Living::eUnknown; // Perhaps a zombie.
    } else {
        process.mLiving = stat->mState == 'Z' || stat->mState == 'X' ? Living::eNo : Living::eYes;
        const auto ticks = static_cast<std::uint64_t>(sysconf(_SC_CLK_TCK));
        process.mStartedAfterBoot = std::chrono::milliseconds(stat->mStartTicks * 1000 / ticks);
    }
    std::error_code ignored;
    const std::filesystem::path program = std::filesystem::read_symlink(folder / "exe", ignored);
    if (!program.empty()) {
        process.mApplication = program.filename().string();
    }
    return process;
}

void lookUpProcesses(std::vector<Communicator>& communicators)
{
    std::map<std::uint32_t, Process> processes;
    for (Communicator& communicator : communicators) {
        const auto [place, isNew] = processes.try_emplace(communicator.mProcessId);
        if (isNew) {
            place->second = lookUpProcess(communicator.mProcessId);
        }
        communicator.mProcess = place->second;
    }
}

} // namespace Inspect
