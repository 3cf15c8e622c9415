#include "oxa_hosting/oxa_mutex_hosting.h"
#include "support/forked_child.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <gmock/gmock.h>
#include <sched.h>
#include <set>
#include <sys/mman.h>
#include <vector>

using TestSupport::ForkedChild;
using TestSupport::Gate;

namespace {

volatile sig_atomic_t deliveries = 0;

void countDelivery(int /*signal*/)
{
    deliveries = deliveries + 1;
}

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
    struct SharedPage
    {
        oxa_mutex mutex;
        volatile int counter;
    };

    Mutex()
    {
        void* const page = mmap(nullptr, sizeof(SharedPage), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        mPage = static_cast<SharedPage*>(page);
        EXPECT_EQ(oxa_mutex_initialize(&mPage->mutex), 0);
    }
    ~Mutex() override { munmap(mPage, sizeof(SharedPage)); }

    /// A child that has the mutex when this returns, and waits for `release`, if ever, to give it back.
    ForkedChild startHolder(const Gate& release)
    {
        Gate held;
        ForkedChild holder([&] {
            const bool isHeld = oxa_mutex_lock(mutex()) == 0;
            return isHeld && held.open() && release.await() && oxa_mutex_unlock(mutex()) == 0 ? 0 : 1;
        });
        EXPECT_TRUE(held.await());
        return holder;
    }

    oxa_mutex* mutex() const { return &mPage->mutex; }

    SharedPage* mPage = nullptr;
};

} // namespace

TEST_F(Mutex, letsNoTwoProcessesInAtOnce)
{
    constexpr int cRounds = 500;
    const auto countUp = [this] {
        for (int round = 0; round < cRounds; ++round) {
            if (oxa_mutex_lock(mutex()) != 0) {
                return 1;
            }
            const int seen = mPage->counter;
            sched_yield();
            mPage->counter = seen + 1;
            oxa_mutex_unlock(mutex());
        }
        return 0;
    };
    std::vector<ForkedChild> children;
    children.reserve(4);
    for (int i = 0; i < 4; ++i) {
        children.emplace_back(countUp);
    }
    for (ForkedChild& child : children) {
        EXPECT_EQ(child.wait(), 0);
    }
    EXPECT_EQ(mPage->counter, 4 * cRounds);
}

TEST_F(Mutex, survivesItsHoldersDeath)
{
    const Gate never;
    for (int death = 0; death < 3; ++death) {
        ForkedChild holder = startHolder(never);
        holder.send(SIGKILL);
        EXPECT_EQ(oxa_mutex_lock(mutex()), 0);
        EXPECT_EQ(oxa_mutex_unlock(mutex()), 0);
        EXPECT_EQ(holder.wait(), TestSupport::cKilled);
    }
}

TEST_F(Mutex, isGivenUpOnWhileItsHolderIsStopped)
{
    const Gate release;
    ForkedChild holder = startHolder(release);
    holder.stop();
    const std::set<int> before = blockedSignals();

    EXPECT_EQ(oxa_mutex_lock(mutex()), ETIMEDOUT);
    EXPECT_EQ(blockedSignals(), before);

    holder.send(SIGCONT);
    release.open();
    EXPECT_EQ(holder.wait(), 0);
    EXPECT_EQ(oxa_mutex_lock(mutex()), 0);
    EXPECT_EQ(oxa_mutex_unlock(mutex()), 0);
}

TEST_F(Mutex, holdsSignalsBackUntilItIsGivenBack)
{
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGTSTP, SIGTTIN, SIGTTOU, SIGALRM, SIGUSR1, SIGUSR2,
                             SIGPIPE, SIGVTALRM, SIGPROF, SIGIO, SIGXCPU, SIGXFSZ}) {
        SCOPED_TRACE(strsignal(signal));
        const auto previous = std::signal(signal, countDelivery);
        deliveries = 0;
        ASSERT_EQ(oxa_mutex_lock(mutex()), 0);
        kill(getpid(), signal);
        EXPECT_EQ(deliveries, 0);
        EXPECT_EQ(oxa_mutex_unlock(mutex()), 0);
        EXPECT_EQ(deliveries, 1);
        std::signal(signal, previous);
    }
}

TEST_F(Mutex, leavesFaultsAloneAndRestoresTheSignalMaskOfBefore)
{
    sigset_t ownChoice;
    sigemptyset(&ownChoice);
    sigaddset(&ownChoice, SIGUSR2);
    pthread_sigmask(SIG_BLOCK, &ownChoice, nullptr);
    const std::set<int> before = blockedSignals();

    ASSERT_EQ(oxa_mutex_lock(mutex()), 0);
    const std::set<int> held = blockedSignals();
    for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT}) {
        EXPECT_FALSE(held.contains(fault)) << fault;
    }
    // A second attempt fails at once and must not take the mask of now for the one to restore.
    EXPECT_EQ(oxa_mutex_lock(mutex()), EDEADLK);
    EXPECT_EQ(blockedSignals(), held);
    EXPECT_EQ(oxa_mutex_unlock(mutex()), 0);
    EXPECT_EQ(blockedSignals(), before);
    EXPECT_EQ(oxa_mutex_unlock(mutex()), EPERM);
    EXPECT_EQ(blockedSignals(), before);
    pthread_sigmask(SIG_UNBLOCK, &ownChoice, nullptr);
}

TEST_F(Mutex, refusesWhatIsNoMutex)
{
    EXPECT_EQ(oxa_mutex_initialize(nullptr), EINVAL);
    EXPECT_EQ(oxa_mutex_lock(nullptr), EINVAL);
    EXPECT_EQ(oxa_mutex_unlock(nullptr), EINVAL);

    const pid_t nobody = 0x3FFFFFF0; // above every process id
    std::memcpy(mutex(), &nobody, sizeof(nobody));
    EXPECT_EQ(oxa_mutex_lock(mutex()), ESRCH);

    std::memset(mutex(), 0, sizeof(oxa_mutex));
    EXPECT_EQ(oxa_mutex_lock(mutex()), EINVAL);
    EXPECT_TRUE(blockedSignals().empty());
}
