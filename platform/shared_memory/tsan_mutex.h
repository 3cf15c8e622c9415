#ifndef OXA_TSAN_MUTEX_H
#define OXA_TSAN_MUTEX_H

// ThreadSanitizer sees no lock in a futex, so it is told of each.

#if defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define OXA_TELL_TSAN
#endif
#elif defined(__SANITIZE_THREAD__)
#define OXA_TELL_TSAN
#endif

#ifdef OXA_TELL_TSAN

#include <sanitizer/tsan_interface.h>

inline void tsanBeforeLock(void* mutex)
{
    __tsan_mutex_pre_lock(mutex, 0);
}

inline void tsanAfterLock(void* mutex, bool isHeld)
{
    __tsan_mutex_post_lock(mutex, isHeld ? 0U : unsigned{__tsan_mutex_try_lock_failed}, 0);
}

inline void tsanBeforeUnlock(void* mutex, bool isHeld)
{
    if (isHeld) {
        __tsan_mutex_pre_unlock(mutex, 0);
    }
}

inline void tsanAfterUnlock(void* mutex, bool isHeld)
{
    if (isHeld) {
        __tsan_mutex_post_unlock(mutex, 0);
    }
}

#else

inline void tsanBeforeLock(void*) {}
inline void tsanAfterLock(void*, bool) {}
inline void tsanBeforeUnlock(void*, bool) {}
inline void tsanAfterUnlock(void*, bool) {}

#endif

#endif
