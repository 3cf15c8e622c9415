#ifndef BENCH_TIMED_PROCESS_H
#define BENCH_TIMED_PROCESS_H

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace Bench {

struct Command
{
    std::vector<std::string> words; ///< the first one is found along PATH
    std::map<std::string, std::string> environment = {};
    /// Called before each run, outside of the time.
    std::function<void()> prepare = [] {};
    /// Whether the program stops itself when it is ready; its time begins when it is continued.
    bool stopsWhenReady = false;
};

/// What one run of a program took, in milliseconds.
struct Times
{
    double wall;
    double processor;
};

/// Throws std::runtime_error when the program cannot be started or does not end with exit status 0.
Times run(const Command& command);

/// Peaks of the resident memory of one run, in KiB, by what the memory is of.
struct PeakMemory
{
    long total = 0;
    long anonymous = 0;
    long files = 0;
    long shared = 0;
};

PeakMemory measurePeakMemory(const Command& command);

struct Medians
{
    Times ours;
    Times reference;
};

/// The medians of `runs` runs of each of the two programs, which take turns.
Medians compare(const Command& ours, const Command& reference, int runs);

/// Reorders `values`, of which there has to be one.
double percentile(std::vector<double>& values, int percent);

} // namespace Bench

#endif
