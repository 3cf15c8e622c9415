#ifndef TESTS_SUPPORT_FORKED_CHILD_H
#define TESTS_SUPPORT_FORKED_CHILD_H

#include <csignal>
#include <cstdlib>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace TestSupport {

/// Lets a process wait for another one. To be made before the fork.
class Gate
{
public:
    Gate()
    {
        if (pipe(mEnds) != 0) {
            std::abort();
        }
    }
    ~Gate()
    {
        close(mEnds[0]);
        close(mEnds[1]);
    }

    Gate(const Gate&) = delete;
    Gate& operator=(const Gate&) = delete;

    /// False when that failed; a process that nobody lets through waits for the test's watchdog.
    bool open() const { return write(mEnds[1], "", 1) == 1; }
    bool await() const
    {
        char byte = 0;
        return read(mEnds[0], &byte, 1) == 1;
    }

private:
    int mEnds[2];
};

/// A fork of the test that runs `body` and ends with its result as exit status; dies with the test at the latest.
class ForkedChild
{
public:
    template <typename Body>
    explicit ForkedChild(Body body) : mProcessId(fork())
    {
        if (mProcessId == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            _exit(body());
        }
    }
    ForkedChild(ForkedChild&& other) noexcept : mProcessId(std::exchange(other.mProcessId, -1)) {}
    ~ForkedChild()
    {
        if (mProcessId > 0) {
            send(SIGKILL);
            wait();
        }
    }

    pid_t processId() const { return mProcessId; }

    void send(int signal) const { kill(mProcessId, signal); }

    /// The exit status, or 1000 and the signal that ended it.
    int wait()
    {
        int status = 0;
        waitpid(std::exchange(mProcessId, -1), &status, 0);
        return WIFSIGNALED(status) ? 1000 + WTERMSIG(status) : WEXITSTATUS(status);
    }

    /// Returns when it has ended; its process id stays taken until `wait`.
    void end() const
    {
        send(SIGKILL);
        siginfo_t info{};
        waitid(P_PID, static_cast<id_t>(mProcessId), &info, WEXITED | WNOWAIT);
    }

    /// Returns when it is stopped.
    void stop() const
    {
        send(SIGSTOP);
        waitpid(mProcessId, nullptr, WUNTRACED);
    }

private:
    pid_t mProcessId;
};

/// For a child that shall not survive what it does.
inline constexpr int cKilledBySegmentationFault = 1000 + SIGSEGV;
inline constexpr int cKilled = 1000 + SIGKILL;

} // namespace TestSupport

#endif
