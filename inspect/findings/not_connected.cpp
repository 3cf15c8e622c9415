#include "inspect/findings/rule.h"

#include <algorithm>
#include <set>

namespace Inspect {

namespace {

/// The stubs that are connected to a skeleton of their service, on either side.
std::set<const Interface*> connectedStubs(const BusIndex& index)
{
    std::set<const Interface*> stubs;
    for (const Interface& holder : index.state().mInterfaces) {
        for (const std::uint16_t id : holder.mReceivers) {
            const Interface* const receiver = index.interfaceWithId(id);
            if (receiver != nullptr && receiver->mType != holder.mType &&
                &index.serviceOf(holder) == &index.serviceOf(*receiver)) {
                stubs.insert(holder.mType == Oxa::eInterfaceInstanceTypeStub ? &holder : receiver);
            }
        }
    }
    return stubs;
}

/// Whether both sides are there to be connected.
bool isComplete(const BusIndex& index, const Interface& stub)
{
    return isRegistered(stub) && std::ranges::any_of(index.serviceOf(stub).mSkeletons,
                                                     [](const Interface* skeleton) { return isRegistered(*skeleton); });
}

void find(const Looks& looks, Report& report)
{
    if (looks.mBefore == nullptr) {
        return;
    }
    const auto connectedNow = connectedStubs(looks.mNow);
    const auto connectedBefore = connectedStubs(*looks.mBefore);
    for (const Interface& interface : looks.mNow.state().mInterfaces) {
        if (interface.mType != Oxa::eInterfaceInstanceTypeStub || connectedNow.contains(&interface) ||
            !isComplete(looks.mNow, interface)) {
            continue;
        }
        const Interface* const before = looks.mBefore->sameAs(interface);
        if (before != nullptr && !connectedBefore.contains(before) && isComplete(*looks.mBefore, *before)) {
            report.add(subjectOf(interface),
                       "providers: " + std::to_string(looks.mNow.serviceOf(interface).mSkeletons.size()) +
                           ", none connected; first of them interface " +
                           std::to_string(looks.mNow.serviceOf(interface).mSkeletons.front()->mId));
        }
    }
}

} // namespace

extern const Rule cNotConnected{
    {"not-connected", Severity::eWarning,
     "A registered stub is connected to none of the registered skeletons with its interface name and domain, in both "
     "looks.",
     "Both sides are present, but no message passes between them.",
     "Roles can separate them on purpose. Needs a second look.",
     "Compare the versions and roles of both sides, and read the log of the side that registered later."},
    find};

} // namespace Inspect
