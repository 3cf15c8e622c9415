#include "inspect/live/process_book.h"

#include "inspect/live/processes.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <span>
#include <sys/epoll.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace Inspect {

namespace {

void closeIfOpen(int& descriptor)
{
    if (descriptor >= 0) {
        close(std::exchange(descriptor, -1)); // It leaves the epoll by that.
    }
}

/// For those that the system gave no descriptor for. That way a zombie is not noticed.
bool isGone(std::uint32_t processId)
{
    return kill(static_cast<pid_t>(processId), 0) != 0 && errno == ESRCH;
}

} // namespace

ProcessBook::ProcessBook() : mEnds(epoll_create1(EPOLL_CLOEXEC))
{
    if (mEnds < 0) {
        throw std::system_error(errno, std::generic_category(), "cannot wait for processes");
    }
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = limit.rlim_max;
    setrlimit(RLIMIT_NOFILE, &limit);
    getrlimit(RLIMIT_NOFILE, &limit);
    constexpr rlim_t cForOthers = 32;
    constexpr rlim_t cMost = 1U << 20;
    mMostDescriptor = static_cast<int>(std::min(limit.rlim_cur, cMost) - std::min(limit.rlim_cur, cForOthers));
}

ProcessBook::~ProcessBook()
{
    for (auto& [processId, entry] : mEntries) {
        closeIfOpen(entry.mDescriptor);
    }
    close(mEnds);
}

void ProcessBook::fillIn(std::vector<Communicator>& communicators)
{
    noteEnds();
    std::map<std::uint32_t, Entry> known = std::exchange(mEntries, {});
    for (Communicator& communicator : communicators) {
        const auto [place, isFirst] = mEntries.try_emplace(communicator.mProcessId);
        Entry& entry = place->second;
        if (isFirst) {
            entry = std::exchange(known[communicator.mProcessId], {});
            if (entry.mDescriptor < 0) {
                lookUp(communicator.mProcessId, entry);
            }
        }
        communicator.mProcess = entry.mProcess;
    }
    for (auto& [processId, entry] : known) {
        closeIfOpen(entry.mDescriptor);
    }
}

/// The id of one that has ended may be that of another one now.
void ProcessBook::lookUp(std::uint32_t processId, Entry& entry) const
{
    int descriptor = static_cast<int>(syscall(SYS_pidfd_open, static_cast<pid_t>(processId), 0U));
    Process process = lookUpProcess(processId);
    if (process.mLiving == Living::eNo) {
        closeIfOpen(descriptor);
        entry.mProcess.mLiving = Living::eNo;
        return;
    }
    epoll_event end{.events = EPOLLIN, .data = {.u32 = processId}};
    if (descriptor > mMostDescriptor || epoll_ctl(mEnds, EPOLL_CTL_ADD, descriptor, &end) != 0) {
        closeIfOpen(descriptor);
    }
    entry = {std::move(process), descriptor};
}

void ProcessBook::noteEnds()
{
    std::array<epoll_event, 64> ends{};
    int count = 0;
    while ((count = epoll_wait(mEnds, ends.data(), static_cast<int>(ends.size()), 0)) > 0) {
        for (const epoll_event& end : std::span(ends).first(static_cast<std::size_t>(count))) {
            Entry& entry = mEntries.at(end.data.u32);
            closeIfOpen(entry.mDescriptor);
            entry.mProcess.mLiving = Living::eNo;
        }
    }
}

bool ProcessBook::hasAnyEnded() const
{
    epoll_event end{};
    if (epoll_wait(mEnds, &end, 1, 0) > 0) {
        return true;
    }
    for (const auto& [processId, entry] : mEntries) {
        if (entry.mDescriptor < 0 && entry.mProcess.mLiving != Living::eNo && isGone(processId)) {
            return true;
        }
    }
    return false;
}

} // namespace Inspect
