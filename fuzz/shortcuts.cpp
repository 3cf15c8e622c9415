// Two things take most of the time of a run, and are the same each time: page faults in the fresh megabyte that the
// registry is copied to, and mapping the channel. Both memories are kept from run to run. What is in them is not.

#include "shortcuts.h"

#include "enquirer/channel_layout.h"
#include "oxa/oxa_zunic_communication_channel.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <dlfcn.h>
#include <sanitizer/asan_interface.h>
#include <sys/mman.h>

namespace {

constexpr std::size_t cSnapshotSize = sizeof(Oxa::ChannelLayout::RegistryTables);
constexpr std::size_t cRedZone = 4096;
constexpr std::size_t cHugePage = std::size_t{1} << 21;

static_assert(cRedZone + cSnapshotSize + cRedZone <= cHugePage);

/// In one huge page, which the kernel handles in a fraction of the time of three hundred small ones. The sanitizer
/// reports each access in front of the snapshot and behind it.
std::byte* mapSnapshot()
{
    void* const mapped = mmap(nullptr, 2 * cHugePage, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (mapped == MAP_FAILED) {
        std::abort();
    }
    auto* const bytes = static_cast<std::byte*>(mapped);
    std::byte* const page = bytes + (cHugePage - reinterpret_cast<std::uintptr_t>(mapped) % cHugePage);
    madvise(page, cHugePage, MADV_HUGEPAGE);
    ASAN_POISON_MEMORY_REGION(page, cHugePage);
    ASAN_UNPOISON_MEMORY_REGION(page + cRedZone, cSnapshotSize);
    return page + cRedZone;
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

/// A large quarantine would have each run use memory that is in no cache.
const char* __asan_default_options()
{
    return "quarantine_size_mb=1:thread_local_quarantine_size_kb=64:malloc_context_size=4";
}

// The linker lets the calls of operator new and operator delete come here first.
void* __real__Znwm(std::size_t size);
void __real__ZdlPv(void* block);

void* __wrap__Znwm(std::size_t size)
{
    if (size != cSnapshotSize || isSnapshotTaken) {
        return __real__Znwm(size);
    }
    isSnapshotTaken = true;
    return snapshot;
}

void __wrap__ZdlPv(void* block)
{
    if (block == snapshot) {
        isSnapshotTaken = false;
    } else {
        __real__ZdlPv(block);
    }
}
}
