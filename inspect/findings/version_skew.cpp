#include "inspect/bus/words.h"
#include "inspect/findings/rule.h"

#include <map>
#include <set>

namespace Inspect {

namespace {

using Users = std::map<const Interface*, std::set<const Interface*>>; ///< stubs of another version, by skeleton

void addPair(const Interface& holder, const Interface& receiver, Users& users)
{
    const bool isStub = holder.mType == Oxa::eInterfaceInstanceTypeStub;
    const Interface& stub = isStub ? holder : receiver;
    const Interface& skeleton = isStub ? receiver : holder;
    if (stub.mType == Oxa::eInterfaceInstanceTypeStub && skeleton.mType == Oxa::eInterfaceInstanceTypeSkeleton &&
        stub.mVersion != skeleton.mVersion) {
        users[&skeleton].insert(&stub);
    }
}

void find(const Looks& looks, Report& report)
{
    Users users;
    for (const Interface& holder : looks.mNow.state().mInterfaces) {
        for (const std::uint16_t id : holder.mReceivers) {
            if (const Interface* const receiver = looks.mNow.interfaceWithId(id)) {
                addPair(holder, *receiver, users);
            }
        }
    }
    for (const auto& [skeleton, stubs] : users) {
        const Interface& stub = **stubs.begin();
        report.add(subjectOf(*skeleton),
                   versionWord(skeleton->mVersion) + "; users with another version: " + std::to_string(stubs.size()) +
                       ", the first is interface " + std::to_string(stub.mId) + " of " + versionWord(stub.mVersion));
    }
}

} // namespace

extern const Rule cVersionSkew{{"version-skew", Severity::eWarning,
                                "A skeleton and a stub are connected and have different versions.",
                                "They can interpret the same message differently.",
                                "Compatible versions, often those that differ only in the last number.",
                                "Update the older side, or verify that both versions are compatible."},
                               find};

} // namespace Inspect
