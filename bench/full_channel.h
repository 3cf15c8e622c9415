#ifndef BENCH_FULL_CHANNEL_H
#define BENCH_FULL_CHANNEL_H

#include "zunic_hosting/hosted_channel.h"

#include <cstdint>
#include <string>

namespace Bench {

enum class Slots
{
    eMixture, ///< of everything that a slot can hold
    eAllInUse ///< the same, and none of them free
};

/// Hosts a channel, with a name of its own, whose registry has no room left: 1,024 communicators and 1,024 interfaces
/// with long names, each of them linked to `linksPerInterface` others.
ZunicHosting::HostedChannel hostFullChannel(std::uint16_t linksPerInterface, std::uint32_t messageSlots,
                                            Slots slots = Slots::eMixture);

/// The name of the interface `id` of such a channel.
std::string interfaceName(std::uint16_t id);

} // namespace Bench

#endif
