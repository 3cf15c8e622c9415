#include "timed_process.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <spawn.h>
#include <stdexcept>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Bench {

namespace {

std::vector<char*> pointersTo(std::vector<std::string>& texts)
{
    std::vector<char*> pointers;
    pointers.reserve(texts.size() + 1);
    for (std::string& text : texts) {
        pointers.push_back(text.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

/// Starts the program without anything to read, and with its output thrown away.
pid_t start(const Command& command)
{
    std::vector<std::string> words = command.words;
    std::vector<std::string> variables;
    for (const auto& [name, value] : command.environment) {
        variables.push_back(name + "=" + value);
    }
    std::vector<char*> environment = pointersTo(variables);
    environment.pop_back();
    for (char** variable = environ; *variable != nullptr; ++variable) {
        environment.push_back(*variable);
    }
    environment.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    for (const int descriptor : {0, 1, 2}) {
        posix_spawn_file_actions_addopen(&actions, descriptor, "/dev/null", O_RDWR, 0);
    }
    pid_t process = -1;
    const int error =
        posix_spawnp(&process, words.front().c_str(), &actions, nullptr, pointersTo(words).data(), environment.data());
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) {
        throw std::runtime_error("cannot start " + words.front());
    }
    return process;
}

double milliseconds(const timeval& time)
{
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_usec) / 1e3;
}

/// Processor time so far of a program with one thread.
double processorTimeOf(pid_t process)
{
    double nanoseconds = 0;
    std::ifstream("/proc/" + std::to_string(process) + "/schedstat") >> nanoseconds;
    return nanoseconds / 1e6;
}

/// Waits for the end of the program and returns its processor time.
double finish(pid_t process, const Command& command)
{
    int status = 0;
    rusage usage{};
    wait4(process, &status, 0, &usage);
    if (status != 0) {
        throw std::runtime_error(command.words.front() + " failed");
    }
    return milliseconds(usage.ru_utime) + milliseconds(usage.ru_stime);
}

/// A line such as "RssAnon:     1234 kB" of a /proc status file; 0 when there is none.
long statusField(const std::string& status, const std::string& name)
{
    const std::size_t place = status.find("\n" + name + ":");
    return place == std::string::npos ? 0 : std::stol(status.substr(place + name.size() + 2));
}

} // namespace

Times run(const Command& command)
{
    using Clock = std::chrono::steady_clock;

    command.prepare();
    Clock::time_point begin = Clock::now();
    const pid_t process = start(command);
    double processorBefore = 0;
    if (command.stopsWhenReady) {
        waitpid(process, nullptr, WUNTRACED);
        processorBefore = processorTimeOf(process);
        begin = Clock::now();
        kill(process, SIGCONT);
    }
    const double processor = finish(process, command) - processorBefore;
    return {std::chrono::duration<double, std::milli>(Clock::now() - begin).count(), processor};
}

PeakMemory measurePeakMemory(const Command& command)
{
    command.prepare();
    const pid_t process = start(command);
    PeakMemory peak;
    siginfo_t ended{};
    while (waitid(P_PID, static_cast<id_t>(process), &ended, WEXITED | WNOHANG | WNOWAIT) == 0 && ended.si_pid == 0) {
        std::ifstream file("/proc/" + std::to_string(process) + "/status");
        const std::string status(std::istreambuf_iterator<char>(file), {});
        peak.total = std::max(peak.total, statusField(status, "VmHWM"));
        peak.anonymous = std::max(peak.anonymous, statusField(status, "RssAnon"));
        peak.files = std::max(peak.files, statusField(status, "RssFile"));
        peak.shared = std::max(peak.shared, statusField(status, "RssShmem"));
        usleep(200);
    }
    finish(process, command);
    return peak;
}

Medians compare(const Command& ours, const Command& reference, int runs)
{
    std::vector<double> wall[2];
    std::vector<double> processor[2];
    for (int i = 0; i < 2 * runs; ++i) {
        const Times times = run(i % 2 == 0 ? ours : reference);
        wall[i % 2].push_back(times.wall);
        processor[i % 2].push_back(times.processor);
    }
    return {{percentile(wall[0], 50), percentile(processor[0], 50)},
            {percentile(wall[1], 50), percentile(processor[1], 50)}};
}

double percentile(std::vector<double>& values, int percent)
{
    const auto place = static_cast<std::ptrdiff_t>(values.size() - 1) * percent / 100;
    std::nth_element(values.begin(), values.begin() + place, values.end());
    return values[static_cast<std::size_t>(place)];
}

} // namespace Bench
