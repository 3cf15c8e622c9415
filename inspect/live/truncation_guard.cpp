#include "inspect/live/truncation_guard.h"

#include "inspect/live/attachment.h"

#include <cerrno>
#include <cstdint>
#include <sys/mman.h>
#include <unistd.h>

namespace Inspect {

namespace {

volatile std::sig_atomic_t hasTruncationStruck = 0;
std::uintptr_t bytesInPage = 0; // sysconf must not be called in a signal handler.

/// Puts a page of zeros where the object has none any more, so that the access succeeds when it is repeated. The
/// provider releases it with the rest of its mapping. Nothing is jumped over: locks are released, destructors run.
void mapZeros(int signal, siginfo_t* info, void*)
{
    const int errorBefore = errno;
    void* const page =
        static_cast<char*>(info->si_addr) - reinterpret_cast<std::uintptr_t>(info->si_addr) % bytesInPage;
    const bool isOfMapping = info->si_code == BUS_ADRERR;
    if (isOfMapping &&
        mmap(page, bytesInPage, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED, -1, 0) != MAP_FAILED) {
        hasTruncationStruck = 1;
    } else {
        std::signal(signal, SIG_DFL); // The repeated access, or the sender's signal, ends the program.
        raise(signal);
    }
    errno = errorBefore;
}

} // namespace

TruncationGuard::TruncationGuard()
{
    hasTruncationStruck = 0;
    bytesInPage = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
    struct sigaction action = {};
    action.sa_sigaction = mapZeros;
    action.sa_flags = SA_SIGINFO;
    sigaction(SIGBUS, &action, &mBefore);
}

TruncationGuard::~TruncationGuard()
{
    sigaction(SIGBUS, &mBefore, nullptr);
}

bool TruncationGuard::hasStruck() const
{
    return hasTruncationStruck != 0;
}

void TruncationGuard::requireWhole(const std::string& channel) const
{
    if (hasStruck()) {
        throw NoChannel("channel \"" + channel + "\" was truncated while it was being read", true);
    }
}

} // namespace Inspect
