#include "enquirer/oxa_zunic_enquirer.h"
#include "support/forked_child.h"
#include "support/live_bus.h"
#include "support/sanitized.h"

#include "oxa/oxa_mutex.h"
#include "zunic_hosting/hosted_channel.h"

#include <algorithm>
#include <cstddef>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <malloc.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>

// What the enquirer does between the lock and the unlock of the registry mutex, seen from these two: nothing that could
// make the bus wait.

namespace {

void ignore() {}

/// What else happens at the two ends of the time in which the mutex is held.
void (*afterLock)() = ignore;
void (*beforeUnlock)() = ignore;

int callPlatform(const char* function, oxa_mutex* mutex)
{
    return reinterpret_cast<int (*)(oxa_mutex*)>(dlsym(RTLD_NEXT, function))(mutex);
}

} // namespace

extern "C" int oxa_mutex_lock(oxa_mutex* mutex)
{
    const int result = callPlatform("oxa_mutex_lock", mutex);
    afterLock();
    return result;
}

extern "C" int oxa_mutex_unlock(oxa_mutex* mutex)
{
    beforeUnlock();
    return callPlatform("oxa_mutex_unlock", mutex);
}

namespace {

constexpr int cSystemCallWhileHeld = 1000 + SIGSYS;

long pageFaults()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_minflt + usage.ru_majflt;
}

/// From here on any system call but the end of the process ends it with SIGSYS.
void forbidSystemCalls()
{
    sock_filter steps[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_exit_group, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_KILL_PROCESS),
    };
    const sock_fprog program{std::size(steps), steps};
    if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 || prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) != 0) {
        _exit(1);
    }
}

class RegistryHold : public testing::Test
{
protected:
    ZunicHosting::HostedChannel mChannel = ZunicHosting::HostedChannel::create(
        {.name = TestSupport::uniqueChannelName(), .messageSlots = 4, .memoryManagers = {}, .group = {}});

    void SetUp() override
    {
        if (TestSupport::cIsSanitized) {
            GTEST_SKIP();
        }
        ZunicHosting::LockedRegistry registry = mChannel.lock();
        for (std::uint16_t id = 0; id < ZunicHosting::cInterfaceCapacity; ++id) {
            registry.registerCommunicator(1, id);
            registry.registerInterface({.interfaceName = std::string(255, 'i'), .roleName = std::string(255, 'r')});
            registry.connect(id, 0);
            registry.connect(id, 1023);
        }
    }

    /// The exit status of a process that takes a snapshot, and ends by `atUnlock` or with 255.
    int endOfSnapshot(void (*atLock)(), void (*atUnlock)())
    {
        TestSupport::ForkedChild child([&] {
            afterLock = atLock;
            beforeUnlock = atUnlock;
            Oxa::OxaZunicEnquirer("", false, false).init(mChannel.name());
            return 255;
        });
        return child.wait();
    }
};

TEST_F(RegistryHold, AllocatesNothing)
{
    static std::size_t before;
    EXPECT_EQ(
        endOfSnapshot([] { before = mallinfo2().uordblks; }, [] { _exit(mallinfo2().uordblks == before ? 0 : 1); }), 0);
}

TEST_F(RegistryHold, MakesNoSystemCall)
{
    EXPECT_EQ(endOfSnapshot(forbidSystemCalls, [] { _exit(0); }), 0);
    EXPECT_EQ(endOfSnapshot(forbidSystemCalls, [] { _exit(getppid() > 0 ? 0 : 1); }), cSystemCallWhileHeld)
        << "the filter has no effect";
}

/// The system may take a page away at any moment; what the enquirer leaves to be faulted in is missing every time.
/// Each snapshot is the first of its process, as in the tool: memory that was used before would be there.
TEST_F(RegistryHold, FaultsNoTableIn)
{
    constexpr int cOwnPagesOfTheFork = 4;
    static long before;
    int fewest = 255;
    for (int i = 0; i < 5; ++i) {
        fewest =
            std::min(fewest, endOfSnapshot([] { before = pageFaults(); },
                                           [] { _exit(static_cast<int>(std::min(pageFaults() - before, 255L))); }));
    }
    EXPECT_LE(fewest, cOwnPagesOfTheFork);
}

} // namespace
