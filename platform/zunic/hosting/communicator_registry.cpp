#include "failures.h"
#include "hosted_object.h"
#include "publishing.h"

#include <bitset>
#include <cerrno>

using ZunicFormat::cFreeCommunicatorId;
using ZunicFormat::CommunicatorEntry;
using ZunicFormat::Registry;

namespace ZunicHosting {
namespace {

/// Null when there is none.
CommunicatorEntry* findCommunicator(Registry& registry, std::uint16_t id)
{
    for (CommunicatorEntry& entry : registry.communicators) {
        if (load(entry.communicatorId) == id) {
            return &entry;
        }
    }
    return nullptr;
}

std::uint16_t lowestUnusedCommunicatorId(Registry& registry)
{
    std::bitset<cFreeCommunicatorId> used;
    for (CommunicatorEntry& entry : registry.communicators) {
        if (load(entry.communicatorId) < used.size()) {
            used.set(entry.communicatorId);
        }
    }
    std::uint16_t id = 0;
    while (used[id]) {
        ++id;
    }
    return id;
}

} // namespace

std::uint16_t LockedRegistry::registerCommunicator(std::uint32_t processId, std::optional<std::uint16_t> id,
                                                   RegistrationState state)
{
    Registry& registry = mObject.registry();
    require(!id || *id < cFreeCommunicatorId, "a communicator id has to be below 4096");
    if (id && findCommunicator(registry, *id)) {
        fail(EEXIST, "communicator id " + std::to_string(*id));
    }
    CommunicatorEntry* const entry = findCommunicator(registry, cFreeCommunicatorId);
    if (!entry) {
        fail(ENOSPC, "the communicator table is full");
    }

    entry->processId = processId;
    entry->state = static_cast<std::uint32_t>(state);
    const std::uint16_t newId = id ? *id : lowestUnusedCommunicatorId(registry);
    publish(entry->communicatorId, newId);
    return newId;
}

} // namespace ZunicHosting
