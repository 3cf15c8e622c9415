#include <cerrno>
#include <dlfcn.h>
#include <pthread.h>
#include <sanitizer/tsan_interface.h>
#include <time.h>

// ThreadSanitizer does not know this function, and takes the mutex for free after it. So it is told.
extern "C" int pthread_mutex_clocklock(pthread_mutex_t* mutex, clockid_t clock, const timespec* deadline) noexcept
{
    using ClockLock = int (*)(pthread_mutex_t*, clockid_t, const timespec*);
    static const auto clockLock = reinterpret_cast<ClockLock>(dlsym(RTLD_NEXT, "pthread_mutex_clocklock"));
    __tsan_mutex_pre_lock(mutex, 0);
    const int result = clockLock(mutex, clock, deadline);
    const bool isHeld = result == 0 || result == EOWNERDEAD;
    __tsan_mutex_post_lock(mutex, isHeld ? 0U : unsigned{__tsan_mutex_try_lock_failed}, 0);
    return result;
}
