#ifndef OXA_OXA_MUTEX_H
#define OXA_OXA_MUTEX_H

/// A mutex in shared memory: 48 bytes, process-shared, robust, priority-inheriting.
typedef struct oxa_mutex oxa_mutex;

#ifdef __cplusplus
extern "C" {
#endif

/// Takes the mutex: 0, or an errno value.
/// Waits at most two seconds on the monotonic clock (ETIMEDOUT). A holder that died is recovered from: the mutex is
/// held, result 0. Signals that would end or stop the process are blocked for the calling thread until
/// `oxa_mutex_unlock`, so that they cannot make it a dead holder; the other threads of the process have to block them
/// themselves. A thread holds one oxa_mutex at a time (EDEADLK), and meanwhile locks and unlocks no robust
/// pthread_mutex_t: both would use the one place where a thread tells the kernel what to give back at its death.
/// Damaged memory is refused (EINVAL, ESRCH, EPERM), or waited for in vain (ETIMEDOUT). All who use one mutex are in
/// one PID namespace: thread ids mean nothing in another.
int oxa_mutex_lock(oxa_mutex* mutex);

/// Gives the mutex back and restores the thread's signal mask, this also when it fails: 0, or an errno value (EPERM:
/// the thread does not hold it, or it was damaged meanwhile).
int oxa_mutex_unlock(oxa_mutex* mutex);

#ifdef __cplusplus
}
#endif

#endif
