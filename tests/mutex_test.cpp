#include "oxa_hosting/oxa_mutex_hosting.h"
#include "support/forked_child.h"

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <gmock/gmock.h>
#include <linux/filter.h>
#include <linux/futex.h>
#include <linux/seccomp.h>
#include <set>
#include <sys/mman.h>
#include <sys/syscall.h>

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
    std::memset(&mutex, 0, sizeof(mutex));
    EXPECT_EQ(oxa_mutex_lock(&mutex), EINVAL);
    EXPECT_TRUE(blockedSignals().empty());
}

TEST(Mutex, refusesHoldersThatCannotBe)
{
    ForkedChild zombie([] { return 0; });
    siginfo_t ended;
    ASSERT_EQ(waitid(P_PID, static_cast<id_t>(zombie.processId()), &ended, WEXITED | WNOWAIT), 0);
    const auto zombieId = static_cast<std::uint32_t>(zombie.processId());
    constexpr std::uint32_t cNobody = 0x3FFFFFF0; // above every process id
    constexpr std::uint32_t cKernelThread = 2;
    for (const std::uint32_t id : {cNobody, zombieId, cKernelThread}) {
        for (const std::uint32_t marks : {0U, 1U * FUTEX_OWNER_DIED, FUTEX_WAITERS, FUTEX_OWNER_DIED | FUTEX_WAITERS}) {
            oxa_mutex mutex;
            ASSERT_EQ(oxa_mutex_initialize(&mutex), 0);
            std::memcpy(&mutex, std::array{id | marks}.data(), sizeof id);
            EXPECT_THAT(oxa_mutex_lock(&mutex), AnyOf(ESRCH, EPERM)) << std::hex << (id | marks);
        }
    }
    EXPECT_TRUE(blockedSignals().empty());
}

TEST(Mutex, followsNothingThatIsWrittenIntoItWhileItIsHeld)
{
    for (const bool isWordSpared : {true, false}) {
        oxa_mutex mutex;
        ASSERT_EQ(oxa_mutex_initialize(&mutex), 0);
        ASSERT_EQ(oxa_mutex_lock(&mutex), 0);
        const std::size_t spared = isWordSpared ? sizeof(std::uint32_t) : 0;
        std::memset(reinterpret_cast<char*>(&mutex) + spared, 0x11, sizeof mutex - spared);
        EXPECT_EQ(oxa_mutex_unlock(&mutex), isWordSpared ? 0 : EPERM);
        EXPECT_TRUE(blockedSignals().empty());
        ASSERT_EQ(oxa_mutex_initialize(&mutex), 0);
        EXPECT_EQ(oxa_mutex_lock(&mutex), 0) << "the thread still holds another";
        EXPECT_EQ(oxa_mutex_unlock(&mutex), 0);
    }
}

/// As kernels before Linux 5.14 do.
void denyWaitingByTheMonotonicClock()
{
    sock_filter steps[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_futex, 0, 3),
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, args[1])),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, FUTEX_LOCK_PI2, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | ENOSYS),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    const sock_fprog program{std::size(steps), steps};
    prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program);
}

TEST(Mutex, isTakenFromTheLivingInTimeAndFromTheDeadAtOnce)
{
    void* const memory = mmap(nullptr, sizeof(oxa_mutex), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    auto* const mutex = static_cast<oxa_mutex*>(memory);
    ASSERT_EQ(oxa_mutex_initialize(mutex), 0);
    for (void (*const prepare)() : {+[] {}, denyWaitingByTheMonotonicClock}) {
        const Gate held;
        ForkedChild holder([&] { return oxa_mutex_lock(mutex) == 0 && held.open() ? pause() : 1; });
        ASSERT_TRUE(held.await());
        ForkedChild waiter([&] {
            prepare();
            return oxa_mutex_lock(mutex);
        });
        EXPECT_EQ(waiter.wait(), ETIMEDOUT);
        ForkedChild heir([&] {
            prepare();
            return oxa_mutex_lock(mutex); // and dies as its holder
        });
        usleep(10'000);
        holder.send(SIGKILL);
        EXPECT_EQ(heir.wait(), 0);
        EXPECT_EQ(oxa_mutex_lock(mutex), 0);
        EXPECT_EQ(oxa_mutex_unlock(mutex), 0);
    }
    munmap(memory, sizeof(oxa_mutex));
}
