#include "pi_futex.h"

#include <cerrno>
#include <ctime>
#include <linux/futex.h>
#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

constexpr time_t cTimeoutSeconds = 2;
constexpr long cRetryNanoseconds = 1'000'000;

/// What the kernel knows a thread by. `pending` is the one place that it looks at when the thread dies: a lock that is
/// noted there while it is taken, held and given back is given back then, if its word still is the thread's.
/// The C library has registered the place and uses it for its robust mutexes; its list of those stays as it is.
struct Thread
{
    std::uint32_t id = 0;
    robust_list_head* robust = nullptr;
};

thread_local Thread cachedThread;

/// The child of a fork has an id of its own, and its parent's note so far.
void forgetThread()
{
    if (cachedThread.robust) {
        cachedThread.robust->list_op_pending = nullptr;
    }
    cachedThread = {};
}

[[maybe_unused]] const int forkHandler = pthread_atfork(nullptr, nullptr, forgetThread);

/// Makes system calls only when a thread calls it for the first time. Leaves `robust` null where the C library has
/// registered no place.
const Thread& thisThread()
{
    if (!cachedThread.robust) {
        std::size_t size = 0;
        cachedThread.id = static_cast<std::uint32_t>(syscall(SYS_gettid));
        syscall(SYS_get_robust_list, 0, &cachedThread.robust, &size);
    }
    return cachedThread;
}

/// An address that only the kernel follows; its lowest bit stands for priority inheritance.
robust_list* noteOf(const Thread& thread, std::uint32_t& word)
{
    constexpr long cPriorityInheritance = 1;
    return reinterpret_cast<robust_list*>(reinterpret_cast<char*>(&word) - thread.robust->futex_offset +
                                          cPriorityInheritance);
}

/// The kernel looks at it at any moment, and no sooner or later than the code says.
void note(const Thread& thread, robust_list* entry)
{
    __atomic_signal_fence(__ATOMIC_SEQ_CST);
    __atomic_store_n(&thread.robust->list_op_pending, entry, __ATOMIC_RELAXED);
    __atomic_signal_fence(__ATOMIC_SEQ_CST);
}

bool exchange(std::uint32_t& word, std::uint32_t expected, std::uint32_t desired, int order)
{
    return __atomic_compare_exchange_n(&word, &expected, desired, false, order, __ATOMIC_RELAXED);
}

int callFutex(std::uint32_t& word, int operation, const timespec* deadline = nullptr)
{
    return syscall(SYS_futex, &word, operation, 0, deadline, nullptr, 0) == 0 ? 0 : errno;
}

timespec now()
{
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return time;
}

bool isBefore(const timespec& first, const timespec& second)
{
    return first.tv_sec != second.tv_sec ? first.tv_sec < second.tv_sec : first.tv_nsec < second.tv_nsec;
}

/// For a kernel that can only wait by the clock that others set.
int tryUntil(std::uint32_t& word, const timespec& deadline)
{
    const timespec pause{0, cRetryNanoseconds};
    int result = callFutex(word, FUTEX_TRYLOCK_PI);
    while (result == EAGAIN && isBefore(now(), deadline)) {
        nanosleep(&pause, nullptr);
        result = callFutex(word, FUTEX_TRYLOCK_PI);
    }
    return result == EAGAIN ? ETIMEDOUT : result;
}

int wait(std::uint32_t& word)
{
    timespec deadline = now();
    deadline.tv_sec += cTimeoutSeconds;
    const int result = callFutex(word, FUTEX_LOCK_PI2, &deadline);
    return result == ENOSYS ? tryUntil(word, deadline) : result;
}

int take(std::uint32_t& word, std::uint32_t threadId)
{
    if (exchange(word, 0, threadId, __ATOMIC_ACQUIRE)) {
        return 0;
    }
    const int result = wait(word);
    if (result == 0) {
        // The mark of a holder that died; the present holder of the lock is alive.
        __atomic_fetch_and(&word, ~std::uint32_t{FUTEX_OWNER_DIED}, __ATOMIC_ACQUIRE);
    }
    return result;
}

} // namespace

int PiFutex::lock(std::uint32_t& word)
{
    const Thread& thread = thisThread();
    if (!thread.robust) {
        return ENOSYS;
    }
    if (thread.robust->list_op_pending) {
        return EDEADLK;
    }
    note(thread, noteOf(thread, word));
    const int result = take(word, thread.id);
    if (result != 0) {
        note(thread, nullptr);
    }
    return result;
}

int PiFutex::unlock(std::uint32_t& word)
{
    const Thread& thread = thisThread();
    const int result = exchange(word, thread.id, 0, __ATOMIC_RELEASE) ? 0 : callFutex(word, FUTEX_UNLOCK_PI);
    if (thread.robust && thread.robust->list_op_pending == noteOf(thread, word)) {
        note(thread, nullptr);
    }
    return result;
}
