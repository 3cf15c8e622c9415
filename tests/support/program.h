#ifndef TESTS_SUPPORT_PROGRAM_H
#define TESTS_SUPPORT_PROGRAM_H

#include "support/forked_child.h"
#include "support/temporary_directory.h"

#include <chrono>
#include <map>
#include <string>
#include <vector>

namespace TestSupport {

struct ProgramOptions
{
    std::string workingDirectory = "/";
    /// Added to the environment of the test.
    std::map<std::string, std::string> environment = {};
    /// A program that is still running then is ended by SIGALRM, which shows in its status.
    std::chrono::seconds watchdog{60};
    /// Words in front of the enquirer's own: a program that is to start it.
    std::vector<std::string> launcher = {};
    /// Bytes; 0: no limit.
    std::size_t addressSpace = 0;
};

/// A program that was started with its output caught; killed when this object is destroyed before it has ended.
class Program
{
public:
    /// The first word is the path of the executable.
    explicit Program(const std::vector<std::string>& words, const ProgramOptions& options = {});

    pid_t processId() const { return mProcess.processId(); }
    bool isRunning() const;
    void send(int signal) const { mProcess.send(signal); }

    /// Once: the exit status when it has ended, or 1000 and the signal that ended it.
    int wait() { return mProcess.wait(); }

    /// What it has written so far.
    std::string output() const { return readFile(mCaught / "output"); }
    std::string errors() const { return readFile(mCaught / "errors"); }

private:
    TemporaryDirectory mCaught;
    ForkedChild mProcess;
};

struct ProgramResult
{
    int status;
    std::string output;
    std::string errors;
};

ProgramResult runProgram(const std::vector<std::string>& words, const ProgramOptions& options = {});

/// Runs the enquirer itself, with no DLT daemon in reach unless the options say where; leaves out libdlt's own lines.
ProgramResult runEnquirer(const std::vector<std::string>& arguments, ProgramOptions options = {});

/// Waits until `condition` holds, for half a minute at most. Returns whether it does.
template <typename Condition>
bool waitUntil(Condition condition)
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    const timespec pause{0, 2'000'000};
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        nanosleep(&pause, nullptr);
    }
    return true;
}

} // namespace TestSupport

#endif
