#ifndef ENQUIRER_INTERFACE_FILTER_H
#define ENQUIRER_INTERFACE_FILTER_H

#include "enquirer/channel_layout.h"
#include "enquirer/record_types.h"

#include <optional>
#include <string_view>

namespace Oxa {

/// What an interface has to be like. An empty name, or a type or state that is not given, asks for nothing.
struct InterfaceFilter
{
    bool fits(const OxaZunic::OxaZunicInterfaceInformation& info) const;

    /// The same of an interface that is still as the channel holds it.
    bool fits(const ChannelLayout::InterfaceEntry& entry) const;

    std::string_view interfaceName;
    std::string_view roleName;
    std::string_view domainName;
    std::optional<InterfaceInstanceType> type;
    std::optional<OxaZunic::OxaZunicRegistrationState> state;
};

} // namespace Oxa

#endif
