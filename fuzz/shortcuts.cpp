// Two things take most of the time of a run, and are the same each time: page faults in the fresh megabyte that the
// registry is copied to, and mapping the channel. Both memories are kept from run to run. What is in them is not.

#include "shortcuts.h"

#include "channel/registry_snapshot.h"
#include "oxa/oxa_zunic_communication_channel.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <dlfcn.h>
#include <new>
#include <sanitizer/asan_interface.h>
#include <sys/mman.h>

namespace {

constexpr std::size_t cRedZone = 4096;

/// A huge page, which stays present. The sanitizer reports each access in front of the tables and behind them.
std::byte* mapSnapshot()
{
    void* const mapped =
        mmap(nullptr, 3 * Channel::cHugePage, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (mapped == MAP_FAILED) {
        std::abort();
    }
    std::byte* const page = static_cast<std::byte*>(mapped) + 2 * Channel::cHugePage -
                            reinterpret_cast<std::uintptr_t>(mapped) % Channel::cHugePage;
    madvise(page, Channel::cHugePage, MADV_HUGEPAGE);
    ASAN_POISON_MEMORY_REGION(page - cRedZone, cRedZone + sizeof(Channel::RegistryCopy));
    ASAN_UNPOISON_MEMORY_REGION(page, sizeof(Channel::RegistryCopy::mTables));
    return page;
}

std::byte* const snapshot = mapSnapshot();
bool isSnapshotTaken = false;

/// Copies of function storages live as long as an attachment.
constexpr unsigned cRunsWithOneAttachment = 1000;

bool isAttachmentKept = false;
oxa_zunic_communication_channel* attachment = nullptr;
unsigned runsWithKeptAttachment = 0;

/// The function of that name in the library, which the one below hides.
template <typename Function>
Function* inLibrary(const char* name)
{
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

const auto createAnew =
    inLibrary<decltype(oxa_zunic_communication_channel_create)>("oxa_zunic_communication_channel_create");
const auto destroyReally =
    inLibrary<decltype(oxa_zunic_communication_channel_destroy)>("oxa_zunic_communication_channel_destroy");

} // namespace

void Shortcuts::keepAttachment(bool isAllowed)
{
    isAttachmentKept = isAllowed;
}

extern "C" {

int oxa_zunic_communication_channel_create(const char* name, oxa_zunic_communication_channel** channel)
{
    if (!isAttachmentKept) {
        return createAnew(name, channel);
    }
    if (runsWithKeptAttachment++ % cRunsWithOneAttachment == 0) {
        destroyReally(attachment);
        createAnew(name, &attachment);
    }
    *channel = attachment;
    return attachment ? 0 : -1;
}

void oxa_zunic_communication_channel_destroy(oxa_zunic_communication_channel* channel)
{
    if (channel != attachment) {
        destroyReally(channel);
    }
}

/// Neither time for filling fresh memory, nor a quarantine so large that each run uses memory that is in no cache.
const char* __asan_default_options()
{
    return "max_malloc_fill_size=0:malloc_context_size=2:quarantine_size_mb=1:thread_local_quarantine_size_kb=64";
}

// The linker lets the calls of operator new and operator delete for over-aligned memory come here first.
void* __real__ZnwmSt11align_val_t(std::size_t size, std::align_val_t alignment);
void __real__ZdlPvSt11align_val_t(void* block, std::align_val_t alignment);

void* __wrap__ZnwmSt11align_val_t(std::size_t size, std::align_val_t alignment)
{
    if (size != sizeof(Channel::RegistryCopy) || isSnapshotTaken) {
        return __real__ZnwmSt11align_val_t(size, alignment);
    }
    isSnapshotTaken = true;
    return snapshot;
}

void __wrap__ZdlPvSt11align_val_t(void* block, std::align_val_t alignment)
{
    if (block == snapshot) {
        isSnapshotTaken = false;
    } else {
        __real__ZdlPvSt11align_val_t(block, alignment);
    }
}
}
