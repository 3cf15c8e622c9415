#ifndef TESTS_SUPPORT_RECORDS_H
#define TESTS_SUPPORT_RECORDS_H

#include "channel/record_types.h"

#include <string>
#include <vector>

namespace TestSupport {

/// What tests say about an interface; the rest has a value of its own in every field.
struct InterfaceOptions
{
    std::string name = "Clock";
    std::string role = "Provider";
    std::string domain = "local";
    Oxa::InterfaceInstanceType type = Oxa::eInterfaceInstanceTypeSkeleton;
    Oxa::Version version{1, 0, 3};
    std::uint16_t communicatorId = 2;
    OxaZunic::OxaZunicRegistrationState state = OxaZunic::eOxaZunicRegistrationStateRegistered;
    OxaZunic::OxaZunicRangeLocation functions{1, 4};
};

inline OxaZunic::OxaZunicInterfaceInformation makeInterface(std::uint16_t id, const InterfaceOptions& options = {})
{
    const Oxa::UUID uuid(options.name, options.role, options.domain, options.type, options.version);
    return {uuid, options.communicatorId, id, options.state, options.functions};
}

inline Oxa::InterfaceMap mapOf(const std::vector<OxaZunic::OxaZunicInterfaceInformation>& interfaces)
{
    Oxa::InterfaceMap map;
    for (const auto& info : interfaces) {
        map.emplace(info.mInterfaceId, info);
    }
    return map;
}

} // namespace TestSupport

#endif
