#ifndef CHANNEL_REGISTRY_SNAPSHOT_H
#define CHANNEL_REGISTRY_SNAPSHOT_H

#include "channel/channel_layout.h"
#include "channel/record_types.h"

#include "oxa/oxa_zunic_communication_channel.h"

#include <cstddef>
#include <memory>

namespace Channel {

constexpr std::size_t cHugePage = std::size_t{1} << 21;

/// The registry's tables as they were at one moment, at the place of a huge page and as large: the system, where it
/// can, has one ready sooner than the three hundred pages that the tables fill.
struct alignas(cHugePage) RegistryCopy
{
    RegistryTables mTables;
};

/// Copies the registry of an attached channel under its mutex, which is held for the copy and no longer.
/// Null when the mutex could not be taken.
std::unique_ptr<const RegistryCopy> copyRegistry(oxa_zunic_communication_channel* channel);

/// Adds every interface in use to `interfaces`, of several with one id only the first, the links of all to `links`, and
/// every communicator in use to `communicators`.
void decodeRegistry(const RegistryTables& tables, Oxa::InterfaceMap& interfaces, Oxa::LinkMap& links,
                    Oxa::CommunicatorList& communicators);

} // namespace Channel

#endif
