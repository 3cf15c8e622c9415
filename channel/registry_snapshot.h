#ifndef CHANNEL_REGISTRY_SNAPSHOT_H
#define CHANNEL_REGISTRY_SNAPSHOT_H

#include "channel/channel_layout.h"
#include "channel/record_types.h"

#include "oxa/oxa_zunic_communication_channel.h"

#include <chrono>
#include <memory>
#include <memory_resource>

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

} // namespace Channel

#endif
