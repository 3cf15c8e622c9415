#include "support/program.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <sys/resource.h>

namespace TestSupport {

namespace {

bool redirect(int descriptor, const std::string& path)
{
    const int file = open(path.c_str(), O_RDWR | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    return file >= 0 && dup2(file, descriptor) == descriptor;
}

/// Turns this process into the program; returns an exit status when that cannot be.
int become(std::vector<std::string> words, const ProgramOptions& options, const TemporaryDirectory& caught)
{
    constexpr int cCannotBeStarted = 127;
    std::vector<char*> arguments(words.size() + 1); // with a null behind the last one
    std::ranges::transform(words, arguments.begin(), [](std::string& word) { return word.data(); });
    for (const auto& [name, value] : options.environment) {
        setenv(name.c_str(), value.c_str(), 1);
    }
    alarm(static_cast<unsigned>(options.watchdog.count()));
    if (const rlimit limit{options.addressSpace, options.addressSpace}; options.addressSpace > 0) {
        setrlimit(RLIMIT_AS, &limit);
    }
    if (redirect(0, "/dev/null") && redirect(1, caught / "output") && redirect(2, caught / "errors") &&
        chdir(options.workingDirectory.c_str()) == 0) {
        execv(arguments[0], arguments.data());
        std::perror(arguments[0]);
    }
    return cCannotBeStarted;
}

ForkedChild start(const std::vector<std::string>& words, const ProgramOptions& options,
                  const TemporaryDirectory& caught)
{
    for (const std::string name : {"output", "errors"}) {
        writeFile(caught / name, "");
    }
    return ForkedChild([&] { return become(words, options, caught); });
}

} // namespace

Program::Program(const std::vector<std::string>& words, const ProgramOptions& options)
    : mProcess(start(words, options, mCaught))
{}

bool Program::isRunning() const
{
    siginfo_t info{};
    return waitid(P_PID, static_cast<id_t>(processId()), &info, WEXITED | WNOHANG | WNOWAIT) == 0 && info.si_pid == 0;
}

ProgramResult runProgram(const std::vector<std::string>& words, const ProgramOptions& options)
{
    Program program(words, options);
    const int status = program.wait();
    return {status, program.output(), program.errors()};
}

ProgramResult runEnquirer(const std::vector<std::string>& arguments, ProgramOptions options)
{
    const TemporaryDirectory noDaemon;
    options.environment.emplace("DLT_PIPE_DIR", noDaemon.path().string());
    std::vector<std::string> words = options.launcher;
    words.emplace_back(ENQUIRER_BINARY);
    words.insert(words.end(), arguments.begin(), arguments.end());
    return runProgram(words, options);
}

} // namespace TestSupport
