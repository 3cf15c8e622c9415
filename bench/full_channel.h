#ifndef BENCH_FULL_CHANNEL_H
#define BENCH_FULL_CHANNEL_H

#include "zunic_hosting/hosted_channel.h"

#include <cstdint>
#include <string>

namespace Bench {

/// Hosts a channel, with a name of its own, whose registry has no room left: 1,024 communicators and 1,024 interfaces
/// with long names, each of them linked to `linksPerInterface` others. The message slots hold a mixture of everything
/// that a slot can hold.
ZunicHosting::HostedChannel hostFullChannel(std::uint16_t linksPerInterface, std::uint32_t messageSlots);

/// The name of the interface `id` of such a channel.
std::string interfaceName(std::uint16_t id);

} // namespace Bench

#endif
