#ifndef INSPECT_LIVE_PROCESSOR_TIME_H
#define INSPECT_LIVE_PROCESSOR_TIME_H

#include <chrono>
#include <ctime>

namespace Inspect {

/// The processor time that this process has used.
inline std::chrono::nanoseconds processorTime()
{
    timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

} // namespace Inspect

#endif
