#ifndef CHANNEL_SNAPSHOT_MEMORY_H
#define CHANNEL_SNAPSHOT_MEMORY_H

#include <cstddef>
#include <memory>
#include <memory_resource>
#include <sys/mman.h>

namespace Channel {

/// While it lives, the default memory resource: a huge page, handed out piece by piece, and after it the heap. The
/// system has such a page ready sooner than the five hundred small ones that the copy of the registry and the nodes of
/// a snapshot's containers fill. There is one at a time.
class SnapshotMemory
{
public:
    SnapshotMemory() { std::pmr::set_default_resource(&mResource); }
    ~SnapshotMemory() { std::pmr::set_default_resource(nullptr); }

    SnapshotMemory(const SnapshotMemory&) = delete;
    SnapshotMemory& operator=(const SnapshotMemory&) = delete;

    /// Frees all that was handed out; nothing of it may be used any more. The page stays, ready for the next snapshot.
    void release() { mResource.release(); }

private:
    static constexpr std::size_t cSize = std::size_t{1} << 21;

    struct alignas(cSize) HugePage
    {
        HugePage() { madvise(this, cSize, MADV_HUGEPAGE); } // NOLINT(cppcoreguidelines-pro-type-member-init)
        std::byte mBytes[cSize];
    };

    std::unique_ptr<HugePage> mPage = std::make_unique_for_overwrite<HugePage>();
    std::pmr::monotonic_buffer_resource mResource{mPage.get(), cSize};
};

} // namespace Channel

#endif
