#ifndef ENQUIRER_SNAPSHOT_H
#define ENQUIRER_SNAPSHOT_H

#include "enquirer/channel_layout.h"
#include "enquirer/interface_filter.h"
#include "enquirer/record_types.h"

#include <cstddef>
#include <memory>

namespace Oxa {

constexpr std::size_t cHugePage = std::size_t{1} << 21;

/// A copy of the registry's tables, at the place of a huge page and as large: the system, where it can, has one ready
/// sooner than the three hundred pages that the tables fill.
struct alignas(cHugePage) RegistryCopy
{
    /// Returns one to be written to, with all pages in their places: writing it does not involve the system.
    static std::unique_ptr<RegistryCopy> makePresent();

    ChannelLayout::RegistryTables tables;
};

/// Whether an interface in use fits; of several with one id only the first counts.
bool isAnyInterface(const ChannelLayout::RegistryTables& tables, const InterfaceFilter& filter);

/// Adds every interface in use to `interfaces`, of several with one id only the first, and the links of all to `links`.
void decodeInterfaceTable(const ChannelLayout::RegistryTables& tables, InterfaceMap& interfaces, LinkMap& links);

/// Adds every communicator in use to `communicators`.
void decodeCommunicatorTable(const ChannelLayout::RegistryTables& tables, CommunicatorList& communicators);

} // namespace Oxa

#endif
