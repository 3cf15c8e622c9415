#ifndef OXA_OXA_MUTEX_H
#define OXA_OXA_MUTEX_H

/// A mutex in shared memory: 48 bytes, process-shared, robust, priority-inheriting.
typedef struct oxa_mutex oxa_mutex;

#ifdef __cplusplus
extern "C" {
#endif

/// Takes the mutex: 0, or an errno value.
/// Waits at most two seconds on the monotonic clock (ETIMEDOUT). A holder that died is recovered from: the mutex is
/// made consistent and held, result 0. Signals that would end or stop the process are blocked for the calling thread
/// until `oxa_mutex_unlock`, so that they cannot make it a dead holder; the other threads of the process have to block
/// them themselves. A thread holds one oxa_mutex at a time. Damaged memory is refused (EINVAL, ESRCH).
int oxa_mutex_lock(oxa_mutex* mutex);

/// Gives the mutex back and restores the thread's signal mask, this also when it fails: 0, or an errno value.
int oxa_mutex_unlock(oxa_mutex* mutex);

#ifdef __cplusplus
}
#endif

#endif
