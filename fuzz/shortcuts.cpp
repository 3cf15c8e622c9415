// Two things take most of the time of a run, and are the same each time: page faults in the fresh megabyte that the
// registry is copied to, and mapping the channel. Both memories are kept from run to run. What is in them is not.

#include "shortcuts.h"

#include "channel/registry_snapshot.h"
#include "oxa/oxa_zunic_communication_channel.h"

#include <cstddef>
#include <cstdlib>
#include <dlfcn.h>
#include <memory_resource>
#include <sanitizer/asan_interface.h>
#include <utility>

namespace {

/// The default memory resource: hands out one and the same memory for every copy of the registry, and the heap's for
/// the rest. The sanitizer reports each access in front of the tables and behind them.
class KeptCopy : public std::pmr::memory_resource
{
public:
    KeptCopy()
    {
        std::byte* const memory = static_cast<std::byte*>(::operator new(cSize + 2 * cRedZone));
        ASAN_POISON_MEMORY_REGION(memory, cSize + 2 * cRedZone);
        mTables = memory + cRedZone;
        ASAN_UNPOISON_MEMORY_REGION(mTables, cSize);
        std::pmr::set_default_resource(this);
    }

private:
    static constexpr std::size_t cRedZone = 4096;
    static constexpr std::size_t cSize = sizeof(Channel::RegistryTables);

    void* do_allocate(std::size_t size, std::size_t alignment) override
    {
        return size == cSize ? mTables : std::pmr::new_delete_resource()->allocate(size, alignment);
    }
    void do_deallocate(void* block, std::size_t size, std::size_t alignment) override
    {
        if (block != mTables) {
            std::pmr::new_delete_resource()->deallocate(block, size, alignment);
        }
    }
    bool do_is_equal(const std::pmr::memory_resource& other) const noexcept override { return this == &other; }

    std::byte* mTables;
};

KeptCopy* const keptCopy = new KeptCopy; // For as long as the program runs.

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
    // Here, between two runs: within one, several parts of it have the attachment.
    if (isAllowed && runsWithKeptAttachment++ % cRunsWithOneAttachment == 0) {
        destroyReally(std::exchange(attachment, nullptr));
    }
}

extern "C" {

int oxa_zunic_communication_channel_create(const char* name, oxa_zunic_communication_channel** channel)
{
    if (!isAttachmentKept) {
        return createAnew(name, channel);
    }
    if (attachment == nullptr) {
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
}
