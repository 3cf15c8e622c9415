#ifndef TESTS_SUPPORT_STEPPED_CHILD_H
#define TESTS_SUPPORT_STEPPED_CHILD_H

#include "support/forked_child.h"

#include <sys/ptrace.h>

namespace TestSupport {

/// Runs `body` in a child that is stopped before and after each of its system calls, and `act`, with the child, at the
/// one of these stops with this number; after that, the child runs freely. Returns whether it was still running then,
/// and its status as ForkedChild does.
template <typename Body, typename Act>
std::pair<bool, int> actAtStop(int number, Body body, Act act)
{
    ForkedChild child([&] {
        const bool isTraced = ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) == 0 && raise(SIGSTOP) == 0;
        return isTraced ? body() : 255;
    });
    for (int stop = 0;; ++stop) {
        siginfo_t info{};
        waitid(P_PID, static_cast<id_t>(child.processId()), &info, WEXITED | WSTOPPED | WNOWAIT);
        if (info.si_code != CLD_TRAPPED && info.si_code != CLD_STOPPED) {
            return {false, child.wait()};
        }
        waitpid(child.processId(), nullptr, WUNTRACED);
        if (stop == number) {
            act(child);
            ptrace(PTRACE_DETACH, child.processId(), nullptr, nullptr);
            return {true, child.wait()};
        }
        ptrace(PTRACE_SYSCALL, child.processId(), nullptr, nullptr);
    }
}

} // namespace TestSupport

#endif
