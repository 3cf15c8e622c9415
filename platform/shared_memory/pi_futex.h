#ifndef OXA_PI_FUTEX_H
#define OXA_PI_FUTEX_H

#include <cstdint>

/// A lock that is one word in shared memory: robust, with priority inheritance, and nothing but the kernel's futex.
/// Errno values, and never an assertion, are what damaged words lead to.
namespace PiFutex {

/// Takes the lock within two seconds, also from a holder that died: 0, or an errno value.
/// EDEADLK: the calling thread holds one already. ETIMEDOUT, and for words that no holder wrote ESRCH, EPERM, EINVAL.
int lock(std::uint32_t& word);

/// 0, or EPERM or another errno value where the word is not, or not any more, that of the calling thread.
int unlock(std::uint32_t& word);

} // namespace PiFutex

#endif
