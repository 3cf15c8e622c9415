#ifndef ENQUIRER_SNAPSHOT_H
#define ENQUIRER_SNAPSHOT_H

#include "enquirer/channel_layout.h"
#include "enquirer/record_types.h"

namespace Oxa {

/// Adds every interface in use to `interfaces`; of several with one id the first stays.
void decodeInterfaceTable(const ChannelLayout::RegistryTables& tables, InterfaceMap& interfaces);

/// Adds the links of every interface in use to `links`. There may be a thousand times as many as interfaces.
void decodeLinks(const ChannelLayout::RegistryTables& tables, LinkMap& links);

/// Adds every communicator in use to `communicators`.
void decodeCommunicatorTable(const ChannelLayout::RegistryTables& tables, CommunicatorList& communicators);

} // namespace Oxa

#endif
