// Loaded in front of the C library: a wall clock that is set back by an hour whenever it is read.

#include <ctime>
#include <dlfcn.h>

extern "C" int clock_gettime(clockid_t clock, timespec* time) noexcept
{
    static const auto original = reinterpret_cast<int (*)(clockid_t, timespec*)>(dlsym(RTLD_NEXT, "clock_gettime"));
    static std::time_t setBack = 0;
    const int result = original(clock, time);
    if (clock == CLOCK_REALTIME) {
        setBack += 3600;
        time->tv_sec -= setBack;
    }
    return result;
}
