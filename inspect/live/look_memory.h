#ifndef INSPECT_LIVE_LOOK_MEMORY_H
#define INSPECT_LIVE_LOOK_MEMORY_H

#include <cstddef>
#include <memory>
#include <memory_resource>
#include <sys/mman.h>

namespace Inspect {

/// While it lives, the default memory resource: one huge page, in which each look begins anew. To make small pages of
/// its own present would cost each look more than all that it does with them. For commands that look again and again.
class LookMemory
{
public:
    LookMemory()
    {
        madvise(mPage.get(), sizeof *mPage, MADV_HUGEPAGE);
        std::pmr::set_default_resource(&mResource);
    }
    ~LookMemory() { std::pmr::set_default_resource(nullptr); }

    LookMemory(const LookMemory&) = delete;
    LookMemory& operator=(const LookMemory&) = delete;

    /// Nothing of the look before may be used any more.
    void beginAnew() { mResource.release(); }

private:
    static constexpr std::size_t cSize = std::size_t{1} << 21;

    struct alignas(cSize) HugePage
    {
        std::byte mBytes[cSize];
    };

    std::unique_ptr<HugePage> mPage = std::make_unique_for_overwrite<HugePage>();
    std::pmr::monotonic_buffer_resource mResource{mPage.get(), cSize};
};

} // namespace Inspect

#endif
