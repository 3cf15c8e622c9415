#include "oxa_hosting/oxa_mutex_hosting.h"
#include "pi_futex.h"
#include "tsan_mutex.h"

#include <cerrno>
#include <csignal>
#include <initializer_list>
#include <optional>

namespace {

constexpr uint64_t cMarker = 0x3255544d41584f5aU;

/// The mask to restore when this thread gives back the mutex that it holds.
thread_local std::optional<sigset_t> savedSignalMask;

/// Everything but the signals that report a fault of the thread itself: those cannot wait.
sigset_t signalsToBlock()
{
    sigset_t signals;
    sigfillset(&signals);
    for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGTRAP, SIGSYS}) {
        sigdelset(&signals, fault);
    }
    return signals;
}

/// False for memory that is damaged, or was never made a mutex.
bool isWholeMutex(const oxa_mutex& mutex)
{
    return __atomic_load_n(&mutex.marker, __ATOMIC_ACQUIRE) == cMarker;
}

} // namespace

int oxa_mutex_initialize(oxa_mutex* mutex)
{
    if (!mutex) {
        return EINVAL;
    }
    *mutex = {};
    __atomic_store_n(&mutex->marker, cMarker, __ATOMIC_RELEASE);
    return 0;
}

int oxa_mutex_lock(oxa_mutex* mutex)
{
    if (!mutex || !isWholeMutex(*mutex)) {
        return EINVAL;
    }
    const sigset_t blocked = signalsToBlock();
    sigset_t previous;
    if (const int result = pthread_sigmask(SIG_BLOCK, &blocked, &previous)) {
        return result;
    }
    tsanBeforeLock(mutex);
    const int result = PiFutex::lock(mutex->word);
    tsanAfterLock(mutex, result == 0);
    if (result == 0) {
        savedSignalMask = previous;
    } else {
        pthread_sigmask(SIG_SETMASK, &previous, nullptr);
    }
    return result;
}

int oxa_mutex_unlock(oxa_mutex* mutex)
{
    if (!mutex) {
        return EINVAL;
    }
    const bool isHeld = savedSignalMask.has_value();
    tsanBeforeUnlock(mutex, isHeld);
    int result = PiFutex::unlock(mutex->word);
    tsanAfterUnlock(mutex, isHeld);
    // Also when the mutex was damaged meanwhile: a holder that cannot give it back must not be deaf to Ctrl-C for good.
    if (isHeld) {
        const int restored = pthread_sigmask(SIG_SETMASK, &*savedSignalMask, nullptr);
        savedSignalMask.reset();
        result = result != 0 ? result : restored;
    }
    return result;
}
