#include "hold_time.h"

#include "channel/channel_layout.h"
#include "enquirer/oxa_zunic_enquirer.h"
#include "timed_process.h"

#include "oxa/oxa_mutex.h"

#include <benchmark/benchmark.h>
#include <chrono>
#include <cstring>
#include <dlfcn.h>
#include <stdexcept>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

bool isHeld = false;
std::size_t allocationsWhileHeld = 0;
Clock::time_point heldSince;
Clock::duration lastHold;

double microseconds(Clock::duration duration)
{
    return std::chrono::duration<double, std::micro>(duration).count();
}

/// The function of that name in the platform's library, which the one of the same name below stands in front of.
auto platformFunction(const char* name)
{
    return reinterpret_cast<int (*)(oxa_mutex*)>(dlsym(RTLD_NEXT, name));
}

} // namespace

extern "C" int oxa_mutex_lock(oxa_mutex* mutex)
{
    static const auto lock = platformFunction("oxa_mutex_lock");
    const int result = lock(mutex);
    isHeld = true;
    heldSince = Clock::now();
    return result;
}

extern "C" int oxa_mutex_unlock(oxa_mutex* mutex)
{
    static const auto unlock = platformFunction("oxa_mutex_unlock");
    lastHold = Clock::now() - heldSince;
    isHeld = false;
    return unlock(mutex);
}

// The C library's allocator under its other name; operator new ends up here too.
extern "C" void* __libc_malloc(size_t size);
extern "C" void* malloc(size_t size)
{
    allocationsWhileHeld += isHeld;
    return __libc_malloc(size);
}

namespace Bench {

namespace {

constexpr std::size_t cCopiedBytes = sizeof(Channel::RegistryTables);

double holdOfOneSnapshot(const std::string& channelName)
{
    Oxa::OxaZunicEnquirer enquirer("", false, false);
    const bool isTaken = enquirer.init(channelName) == OxaResult::cOk;
    enquirer.cleanup();
    if (!isTaken) {
        throw std::runtime_error("no snapshot of channel " + channelName);
    }
    return microseconds(lastHold);
}

double oneCopy(const std::vector<char>& from, std::vector<char>& to)
{
    const auto begin = Clock::now();
    std::memcpy(to.data(), from.data(), cCopiedBytes);
    benchmark::DoNotOptimize(to.data());
    benchmark::ClobberMemory();
    return microseconds(Clock::now() - begin);
}

/// The table has all figures; Google Benchmark's own is not wanted.
class Silent : public benchmark::BenchmarkReporter
{
public:
    bool ReportContext(const Context&) override { return true; }
    void ReportRuns(const std::vector<Run>&) override {}
};

} // namespace

HoldTime measureHoldTime(const std::string& channelName, int snapshots)
{
    std::vector<double> holds;
    std::vector<double> copies;
    const std::vector<char> from(cCopiedBytes, 'x');
    std::vector<char> to(cCopiedBytes);
    allocationsWhileHeld = 0;

    benchmark::RegisterBenchmark("hold",
                                 [&](benchmark::State& state) {
                                     for (auto _ : state) {
                                         copies.push_back(oneCopy(from, to));
                                         holds.push_back(holdOfOneSnapshot(channelName));
                                         state.SetIterationTime(holds.back() / 1e6);
                                     }
                                 })
        ->Iterations(snapshots)
        ->UseManualTime();
    Silent reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::ClearRegisteredBenchmarks();
    return {percentile(holds, 50), percentile(holds, 99), percentile(copies, 50), allocationsWhileHeld};
}

} // namespace Bench
