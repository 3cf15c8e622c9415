#include "oxa_hosting/oxa_mutex_hosting.h"
#include "support/forked_child.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <gmock/gmock.h>
#include <set>
#include <sys/mman.h>

using testing::AnyOf;
using testing::Contains;
using testing::IsSupersetOf;
using testing::Not;
using TestSupport::ForkedChild;
using TestSupport::Gate;

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

class Mutex : public testing::Test
{
protected:
    Mutex() { EXPECT_EQ(oxa_mutex_initialize(mMutex), 0); }
    ~Mutex() override { munmap(mMutex, sizeof(oxa_mutex)); }

    oxa_mutex* const mMutex = static_cast<oxa_mutex*>(
        mmap(nullptr, sizeof(oxa_mutex), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
};

} // namespace

TEST_F(Mutex, isGivenUpOnWhileItsHolderIsStoppedAndHadWhenItDies)
{
    const Gate held;
    ForkedChild holder([&] { return oxa_mutex_lock(mMutex) == 0 && held.open() ? pause() : 1; });
    ASSERT_TRUE(held.await());
    holder.stop();
    const std::set<int> before = blockedSignals();
    EXPECT_EQ(oxa_mutex_lock(mMutex), ETIMEDOUT);
    EXPECT_EQ(blockedSignals(), before);

    holder.send(SIGKILL);
    EXPECT_EQ(holder.wait(), TestSupport::cKilled);
    for (int lock = 0; lock < 2; ++lock) {
        EXPECT_EQ(oxa_mutex_lock(mMutex), 0);
        EXPECT_EQ(oxa_mutex_unlock(mMutex), 0);
    }
}

TEST_F(Mutex, holdsBackAllSignalsButFaultsAndRestoresTheMaskOfBefore)
{
    sigset_t ownChoice;
    sigemptyset(&ownChoice);
    sigaddset(&ownChoice, SIGUSR2);
    pthread_sigmask(SIG_BLOCK, &ownChoice, nullptr);
    const std::set<int> before = blockedSignals();

    ASSERT_EQ(oxa_mutex_lock(mMutex), 0);
    const std::set<int> held = blockedSignals();
    EXPECT_THAT(held, IsSupersetOf({SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGTSTP, SIGTTIN, SIGTTOU, SIGALRM, SIGUSR1,
                                    SIGUSR2, SIGPIPE, SIGVTALRM, SIGPROF, SIGIO, SIGXCPU, SIGXFSZ}));
    EXPECT_THAT(held, Not(Contains(AnyOf(SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT))));
    // A second attempt fails at once and must not take the mask of now for the one to restore.
    EXPECT_EQ(oxa_mutex_lock(mMutex), EDEADLK);
    EXPECT_EQ(blockedSignals(), held);
    EXPECT_EQ(oxa_mutex_unlock(mMutex), 0);
    EXPECT_EQ(blockedSignals(), before);
    EXPECT_EQ(oxa_mutex_unlock(mMutex), EPERM);
    EXPECT_EQ(blockedSignals(), before);
    pthread_sigmask(SIG_UNBLOCK, &ownChoice, nullptr);
}

TEST_F(Mutex, refusesWhatIsNoMutex)
{
    EXPECT_EQ(oxa_mutex_initialize(nullptr), EINVAL);
    EXPECT_EQ(oxa_mutex_lock(nullptr), EINVAL);
    EXPECT_EQ(oxa_mutex_unlock(nullptr), EINVAL);

    const pid_t nobody = 0x3FFFFFF0; // above every process id
    std::memcpy(mMutex, &nobody, sizeof(nobody));
    EXPECT_EQ(oxa_mutex_lock(mMutex), ESRCH);

    std::memset(mMutex, 0, sizeof(oxa_mutex));
    EXPECT_EQ(oxa_mutex_lock(mMutex), EINVAL);
    EXPECT_TRUE(blockedSignals().empty());
}
