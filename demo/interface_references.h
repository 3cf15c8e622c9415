#ifndef ZUNIC_DEMO_INTERFACE_REFERENCES_H
#define ZUNIC_DEMO_INTERFACE_REFERENCES_H

#include "scenario.h"
#include "scenario_place.h"

#include <unordered_map>

namespace ZunicDemo {

/// The interfaces of a scenario, to be found by the references in its links and messages.
///
/// A reference is an id (7 or "7"), a range of ids ("0-511"), the name and role of interfaces ("Clock/Provider", which
/// stands for all that have both), or an array of references.
class InterfaceReferences
{
public:
    void add(const InterfaceEntry& interface);

    /// The interfaces that `place` names. An id need not be that of an interface; a name must be.
    InterfaceSet anyIds(const JsonPlace& place, const PlaceholderNumbers& numbers) const;
    /// The same, where all must be interfaces that are registered or preregistered.
    InterfaceSet connectable(const JsonPlace& place, const PlaceholderNumbers& numbers) const;
    /// The one sender that `place` names: a number as it stands, or a reference to one interface.
    std::uint16_t sender(const JsonPlace& place, const PlaceholderNumbers& numbers) const;

private:
    InterfaceSet fromText(const JsonPlace& place, const PlaceholderNumbers& numbers) const;

    InterfaceSet mConnectable;
    std::unordered_map<std::string, InterfaceSet> mByNameAndRole;
};

} // namespace ZunicDemo

#endif
