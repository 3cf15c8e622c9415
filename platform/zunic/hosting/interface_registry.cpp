#include "failures.h"
#include "hosted_object.h"
#include "publishing.h"
#include "receiver_sets.h"

#include <algorithm>
#include <bitset>
#include <cerrno>
#include <cstring>

using ZunicFormat::InterfaceEntry;
using ZunicFormat::Registry;

namespace ZunicHosting {
namespace {

RegistrationState stateOf(InterfaceEntry& entry)
{
    return static_cast<RegistrationState>(load(entry.state));
}

bool isInUse(InterfaceEntry& entry)
{
    const RegistrationState state = stateOf(entry);
    return state == RegistrationState::registered || state == RegistrationState::preregistered;
}

/// Null when there is none.
InterfaceEntry* findInterface(Registry& registry, std::uint16_t id)
{
    for (InterfaceEntry& entry : registry.interfaces) {
        if (isInUse(entry) && entry.interfaceId == id) {
            return &entry;
        }
    }
    return nullptr;
}

InterfaceEntry& getInterface(Registry& registry, std::uint16_t id)
{
    InterfaceEntry* const entry = findInterface(registry, id);
    if (!entry) {
        fail(ENOENT, "interface id " + std::to_string(id));
    }
    return *entry;
}

InterfaceEntry& findUnusedEntry(Registry& registry)
{
    InterfaceEntry* unused = nullptr;
    for (InterfaceEntry& entry : registry.interfaces) {
        if (stateOf(entry) == RegistrationState::invalid) {
            return entry;
        }
        if (!unused && !isInUse(entry)) {
            unused = &entry;
        }
    }
    if (!unused) {
        fail(ENOSPC, "the interface table is full");
    }
    return *unused;
}

std::uint16_t lowestUnusedInterfaceId(Registry& registry)
{
    std::bitset<cInterfaceCapacity> used;
    for (InterfaceEntry& entry : registry.interfaces) {
        if (isInUse(entry) && entry.interfaceId < used.size()) {
            used.set(entry.interfaceId);
        }
    }
    std::uint16_t id = 0;
    while (id < used.size() && used[id]) {
        ++id;
    }
    if (id == used.size()) {
        fail(ENOSPC, "every interface id is in use");
    }
    return id;
}

std::uint16_t chooseInterfaceId(Registry& registry, std::optional<std::uint16_t> wanted)
{
    if (!wanted) {
        return lowestUnusedInterfaceId(registry);
    }
    if (findInterface(registry, *wanted)) {
        fail(EEXIST, "interface id " + std::to_string(*wanted));
    }
    return *wanted;
}

void checkDescription(const InterfaceDescription& description)
{
    for (const std::string& name : {description.interfaceName, description.roleName, description.domainName}) {
        require(name.size() < ZunicFormat::cNameSize, "a name is longer than 255 bytes");
        require(name.find('\0') == std::string::npos, "a name holds a NUL");
    }
    require(!description.id || *description.id < cInterfaceCapacity, "an interface id has to be below 1024");
}

void removeFromReceiverSets(Registry& registry, std::uint16_t id)
{
    for (InterfaceEntry& entry : registry.interfaces) {
        removeReceiver(entry.receivers, id);
    }
}

void writeFields(InterfaceEntry& entry, const InterfaceDescription& description, std::uint16_t id)
{
    // The zeros behind it end each name. The state stays what it is: not in use.
    std::memset(&entry, 0, offsetof(InterfaceEntry, state));
    std::ranges::copy(description.interfaceName, entry.interfaceName);
    std::ranges::copy(description.roleName, entry.roleName);
    std::ranges::copy(description.domainName, entry.domainName);
    entry.type = static_cast<std::uint32_t>(description.type);
    std::ranges::copy(description.version, entry.version);
    entry.communicatorId = description.communicatorId;
    entry.interfaceId = id;
    std::ranges::fill(entry.receivers, 0);
    entry.functions = description.functions;
}

} // namespace

std::uint16_t LockedRegistry::registerInterface(const InterfaceDescription& description)
{
    checkDescription(description);
    Registry& registry = mObject.registry();
    InterfaceEntry& entry = findUnusedEntry(registry);
    const std::uint16_t id = chooseInterfaceId(registry, description.id);
    // A process that died while it unregistered the id's last owner can have left it in some set.
    removeFromReceiverSets(registry, id);
    writeFields(entry, description, id);
    publish(entry.state, static_cast<std::uint32_t>(description.state));
    return id;
}

void LockedRegistry::unregisterInterface(std::uint16_t interfaceId)
{
    Registry& registry = mObject.registry();
    InterfaceEntry& entry = getInterface(registry, interfaceId);
    withdraw(entry.state, static_cast<std::uint32_t>(RegistrationState::unregistered));
    removeFromReceiverSets(registry, interfaceId);
    // In this order nobody finds a location whose block may be another's.
    const oxa_zunic_range_location functions = entry.functions;
    entry.functions = cNoLocation;
    mObject.freeBlock(functions);
}

void LockedRegistry::connect(std::uint16_t holder, std::uint16_t receiver)
{
    require(receiver < cReceiverIds, "a receiver's id has to be below 1024");
    addReceiver(getInterface(mObject.registry(), holder).receivers, receiver);
}

} // namespace ZunicHosting
