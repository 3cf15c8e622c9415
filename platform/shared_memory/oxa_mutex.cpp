#include "oxa_hosting/oxa_mutex_hosting.h"

#include <cerrno>
#include <csignal>
#include <ctime>
#include <initializer_list>
#include <linux/futex.h>
#include <optional>

namespace {

constexpr uint64_t cMarker = 0x5855544d41584f5aU;
constexpr time_t cLockTimeoutSeconds = 2;

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

timespec lockDeadline()
{
    timespec deadline{};
    clock_gettime(CLOCK_MONOTONIC, &deadline);
    deadline.tv_sec += cLockTimeoutSeconds;
    return deadline;
}

uint32_t lockWord(const pthread_mutex_t& mutex)
{
    return static_cast<uint32_t>(__atomic_load_n(&mutex.__data.__lock, __ATOMIC_ACQUIRE));
}

/// True when the lock word names a holder that does not exist and that the kernel has not marked as died, as only
/// damaged memory can: waiting for such a holder makes the C library end the process.
/// A thread's locks are marked before its id vanishes, so an unchanged word after the look-up is proof.
bool isHeldByNobody(const pthread_mutex_t& mutex)
{
    const uint32_t word = lockWord(mutex);
    const auto holder = static_cast<pid_t>(word & FUTEX_TID_MASK);
    if (holder == 0 || (word & FUTEX_OWNER_DIED) != 0) {
        return false;
    }
    return kill(holder, 0) != 0 && errno == ESRCH && lockWord(mutex) == word;
}

int lockWithinTimeout(pthread_mutex_t& mutex)
{
    if (isHeldByNobody(mutex)) {
        return ESRCH;
    }
    const timespec deadline = lockDeadline();
    const int result = pthread_mutex_clocklock(&mutex, CLOCK_MONOTONIC, &deadline);
    return result == EOWNERDEAD ? pthread_mutex_consistent(&mutex) : result;
}

/// False for memory that is damaged, or was never made a mutex: one of another kind would exclude no other process, and
/// some kinds make the C library end this one.
bool isWholeMutex(const oxa_mutex& mutex)
{
    // PTHREAD_MUTEX_ERRORCHECK, and what the C library notes for robust, priority-inheriting and process-shared.
    constexpr int cKind = PTHREAD_MUTEX_ERRORCHECK | 16 | 32 | 128;
    return __atomic_load_n(&mutex.marker, __ATOMIC_ACQUIRE) == cMarker &&
           __atomic_load_n(&mutex.mutex.__data.__kind, __ATOMIC_RELAXED) == cKind;
}

int setAttributes(pthread_mutexattr_t& attributes)
{
    if (const int result = pthread_mutexattr_setpshared(&attributes, PTHREAD_PROCESS_SHARED)) {
        return result;
    }
    if (const int result = pthread_mutexattr_setrobust(&attributes, PTHREAD_MUTEX_ROBUST)) {
        return result;
    }
    if (const int result = pthread_mutexattr_setprotocol(&attributes, PTHREAD_PRIO_INHERIT)) {
        return result;
    }
    // A thread that locks twice is told at once, and not after the timeout.
    return pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_ERRORCHECK);
}

} // namespace

int oxa_mutex_initialize(oxa_mutex* mutex)
{
    if (!mutex) {
        return EINVAL;
    }
    pthread_mutexattr_t attributes;
    if (const int result = pthread_mutexattr_init(&attributes)) {
        return result;
    }
    int result = setAttributes(attributes);
    if (result == 0) {
        result = pthread_mutex_init(&mutex->mutex, &attributes);
    }
    pthread_mutexattr_destroy(&attributes);
    if (result == 0) {
        __atomic_store_n(&mutex->marker, cMarker, __ATOMIC_RELEASE);
    }
    return result;
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
    const int result = lockWithinTimeout(mutex->mutex);
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
    int result = pthread_mutex_unlock(&mutex->mutex);
    // Also when the mutex was damaged meanwhile: whoever cannot give it back must not be deaf to Ctrl-C for good.
    if (savedSignalMask) {
        const int restored = pthread_sigmask(SIG_SETMASK, &*savedSignalMask, nullptr);
        savedSignalMask.reset();
        result = result != 0 ? result : restored;
    }
    return result;
}
