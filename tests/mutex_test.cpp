#include "oxa_hosting/oxa_mutex_hosting.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <gmock/gmock.h>
#include <set>

using testing::AnyOf;
using testing::Contains;
using testing::IsSupersetOf;
using testing::Not;

namespace {

std::set<int> blockedSignals()
{
    sigset_t mask;
    pthread_sigmask(SIG_SETMASK, nullptr, &mask);
    std::set<int> blocked;
    for (int signal = 1; signal < SIGRTMIN; ++signal) {
        if (sigismember(&mask, signal) == 1) {
            blocked.insert(signal);
        }
    }
    return blocked;
}

} // namespace

TEST(Mutex, holdsBackAllSignalsButFaultsAndRestoresTheMaskOfBefore)
{
    sigset_t ownChoice;
    sigemptyset(&ownChoice);
    sigaddset(&ownChoice, SIGUSR2);
    pthread_sigmask(SIG_BLOCK, &ownChoice, nullptr);
    const std::set<int> before = blockedSignals();
    oxa_mutex mutex;
    ASSERT_EQ(oxa_mutex_initialize(&mutex), 0);

    ASSERT_EQ(oxa_mutex_lock(&mutex), 0);
    const std::set<int> held = blockedSignals();
    EXPECT_THAT(held, IsSupersetOf({SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGTSTP, SIGTTIN, SIGTTOU, SIGALRM, SIGUSR1,
                                    SIGUSR2, SIGPIPE, SIGVTALRM, SIGPROF, SIGIO, SIGXCPU, SIGXFSZ}));
    EXPECT_THAT(held, Not(Contains(AnyOf(SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT))));
    // A second attempt fails at once and must not take the mask of now for the one to restore.
    EXPECT_EQ(oxa_mutex_lock(&mutex), EDEADLK);
    EXPECT_EQ(blockedSignals(), held);
    EXPECT_EQ(oxa_mutex_unlock(&mutex), 0);
    EXPECT_EQ(blockedSignals(), before);
    EXPECT_EQ(oxa_mutex_unlock(&mutex), EPERM);
    EXPECT_EQ(blockedSignals(), before);
    pthread_sigmask(SIG_UNBLOCK, &ownChoice, nullptr);
}

TEST(Mutex, refusesWhatIsNoMutex)
{
    EXPECT_EQ(oxa_mutex_initialize(nullptr), EINVAL);
    EXPECT_EQ(oxa_mutex_lock(nullptr), EINVAL);
    EXPECT_EQ(oxa_mutex_unlock(nullptr), EINVAL);

    oxa_mutex mutex;
    ASSERT_EQ(oxa_mutex_initialize(&mutex), 0);
    const pid_t nobody = 0x3FFFFFF0; // above every process id
    std::memcpy(&mutex, &nobody, sizeof(nobody));
    EXPECT_EQ(oxa_mutex_lock(&mutex), ESRCH);

    std::memset(&mutex, 0, sizeof(mutex));
    EXPECT_EQ(oxa_mutex_lock(&mutex), EINVAL);
    EXPECT_TRUE(blockedSignals().empty());
}
