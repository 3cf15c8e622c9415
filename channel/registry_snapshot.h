#ifndef CHANNEL_REGISTRY_SNAPSHOT_H
#define CHANNEL_REGISTRY_SNAPSHOT_H

#include "channel/channel_layout.h"
#include "channel/record_types.h"

#include "oxa/oxa_zunic_communication_channel.h"

#include <chrono>
#include <cstddef>
#include <memory>
#include <memory_resource>
#include <sys/mman.h>

namespace Channel {

struct GiveBack
{
    void operator()(RegistryTables* tables) { mMemory.deallocate_object(tables); }
    std::pmr::polymorphic_allocator<> mMemory;
};

/// The registry's tables as they were at one moment, in memory of the default resource.
using RegistryCopy = std::unique_ptr<RegistryTables, GiveBack>;

/// Copies the registry of an attached channel under its mutex, which is held for the copy and no longer.
/// Null when the mutex could not be taken. Puts into `held` how long it was.
RegistryCopy copyRegistry(oxa_zunic_communication_channel* channel, std::chrono::nanoseconds* held = nullptr);

/// Adds every interface in use to `interfaces`, of several with one id only the first, the links of all to `links`, and
/// every communicator in use to `communicators`.
void decodeRegistry(const RegistryTables& tables, Oxa::InterfaceMap& interfaces, Oxa::LinkMap& links,
                    Oxa::CommunicatorList& communicators);

/// While it lives, the default memory resource: a huge page, handed out piece by piece and never taken back, and after
/// it the heap. For a program that takes one snapshot: the system has such a page ready sooner than the five hundred
/// small ones that the copy of the registry and the nodes of the snapshot's containers fill.
class SnapshotMemory
{
public:
    SnapshotMemory() { std::pmr::set_default_resource(&mResource); }
    ~SnapshotMemory() { std::pmr::set_default_resource(nullptr); }

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
