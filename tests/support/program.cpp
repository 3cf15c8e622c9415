#include "support/program.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <spawn.h>
#include <sstream>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace TestSupport {

namespace {

/// The words in front of a program's own that give it its working directory and its environment.
std::vector<std::string> surroundings(const ProgramOptions& options)
{
    std::vector<std::string> words{"/usr/bin/env", "--chdir=" + options.workingDirectory};
    for (const auto& [name, value] : options.environment) {
        words.push_back(name + "=" + value);
    }
    return words;
}

std::vector<char*> pointersTo(std::vector<std::string>& texts)
{
    std::vector<char*> pointers;
    for (std::string& text : texts) {
        pointers.push_back(text.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

} // namespace

Program::Program(const std::vector<std::string>& words, const ProgramOptions& options)
    : mDeadline(std::chrono::steady_clock::now() + options.watchdog)
{
    std::vector<std::string> arguments = surroundings(options);
    arguments.insert(arguments.end(), words.begin(), words.end());

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 1, (mCaught / "output").c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
    posix_spawn_file_actions_addopen(&actions, 2, (mCaught / "errors").c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
    const int error =
        posix_spawn(&mProcessId, arguments[0].c_str(), &actions, nullptr, pointersTo(arguments).data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) {
        throw std::system_error(error, std::generic_category(), arguments[0]);
    }
}

Program::~Program()
{
    if (!mHasEnded) {
        kill(mProcessId, SIGKILL);
        waitpid(mProcessId, nullptr, 0);
    }
}

bool Program::isRunning() const
{
    siginfo_t info{};
    return !mHasEnded && waitid(P_PID, static_cast<id_t>(mProcessId), &info, WEXITED | WNOHANG | WNOWAIT) == 0 &&
           info.si_pid == 0;
}

int Program::terminate()
{
    if (!mHasEnded) {
        kill(mProcessId, SIGTERM);
    }
    return wait();
}

int Program::wait()
{
    const timespec pause{0, 1'000'000};
    while (!mHasEnded) {
        int status = 0;
        mHasEnded = waitpid(mProcessId, &status, WNOHANG) == mProcessId;
        mStatus = WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status);
        if (!mHasEnded && std::chrono::steady_clock::now() > mDeadline) {
            kill(mProcessId, SIGKILL);
        }
        nanosleep(&pause, nullptr);
    }
    return mStatus;
}

ProgramResult runProgram(const std::vector<std::string>& words, const ProgramOptions& options)
{
    Program program(words, options);
    const int status = program.wait();
    return {status, program.output(), program.errors()};
}

std::string withoutDltLines(const std::string& text)
{
    std::istringstream lines(text);
    std::string kept;
    for (std::string line; std::getline(lines, line);) {
        if (line.find("~DLT~") == std::string::npos) {
            kept += line + (lines.eof() ? "" : "\n");
        }
    }
    return kept;
}

ProgramResult runEnquirer(const std::vector<std::string>& arguments, ProgramOptions options)
{
    const TemporaryDirectory noDaemon;
    options.environment.emplace("DLT_PIPE_DIR", noDaemon.path().string());
    std::vector<std::string> words = options.launcher;
    words.emplace_back(ENQUIRER_BINARY);
    words.insert(words.end(), arguments.begin(), arguments.end());
    ProgramResult result = runProgram(words, options);
    result.output = withoutDltLines(result.output);
    result.errors = withoutDltLines(result.errors);
    return result;
}

} // namespace TestSupport
