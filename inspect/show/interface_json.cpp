#include "inspect/json/json_rows.h"
#include "inspect/relations/relations.h"
#include "inspect/show/interface_tree.h"

namespace Inspect {

namespace {

Json ownerJson(const Owners& owners, const Interface& interface)
{
    const Communicator* const owner = owners.of(interface);
    return owner == nullptr ? Json() : toJson(*owner);
}

/// The other side of a connection: who it is, and whose.
Json otherSide(const Owners& owners, const Interface& interface)
{
    Json json = toJson(interface);
    json.erase("functions");
    json.erase("receivers");
    json["owner"] = ownerJson(owners, interface);
    return json;
}

Json wholeJson(const Interface& interface, const Owners& owners, const Connections& connections)
{
    Json json = toJson(interface);
    json["owner"] = ownerJson(owners, interface);
    Json& providers = json["providers"] = Json::array();
    for (const Interface* const holder : connections.holdersOf(interface.mId)) {
        providers.push_back(otherSide(owners, *holder));
    }
    Json& users = json["users"] = Json::array();
    for (const std::uint16_t id : interface.mReceivers) {
        for (const Interface* const user : connections.withId(id)) {
            users.push_back(otherSide(owners, *user));
        }
    }
    return json;
}

} // namespace

void writeInterfaceJson(std::ostream& out, const std::vector<const Interface*>& interfaces, const BusState& state)
{
    const Owners owners(state);
    const Connections connections(state);
    JsonRows rows(out, cListSchema, "interfaces");
    for (const Interface* const interface : interfaces) {
        rows.add(wholeJson(*interface, owners, connections));
    }
    rows.end();
}

} // namespace Inspect
