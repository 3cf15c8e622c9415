#include "inspect/bus/words.h"
#include "inspect/findings/contract/connected_users.h"
#include "inspect/findings/contract/contract.h"
#include "inspect/saved/record_json.h"

#include <algorithm>
#include <map>
#include <nlohmann/json.hpp>
#include <tuple>

namespace Inspect {

namespace {

/// Two interfaces of one identity are one expectation, which both have to keep.
using Identity = std::tuple<std::string_view, std::string_view, std::string_view, std::uint32_t>;

struct Kept
{
    Oxa::Version mLeastVersion;
    std::optional<std::string> mApplication; ///< none when they belong to several, or it is not to be known
    std::uint32_t mLeastUsers;
};

bool isOlder(const Oxa::Version& one, const Oxa::Version& other)
{
    return std::tie(one.mMajor, one.mMinor, one.mRevision) < std::tie(other.mMajor, other.mMinor, other.mRevision);
}

/// What stands for itself in a shell pattern.
std::string escapedPattern(const std::string& name)
{
    std::string pattern;
    for (const char byte : name) {
        if (std::string_view("*?[\\").find(byte) != std::string_view::npos) {
            pattern += '\\';
        }
        pattern += byte;
    }
    return pattern;
}

std::map<Identity, Kept> whatIsKept(const BusState& state)
{
    const Owners owners(state);
    const Connections connections(state);
    std::map<Identity, Kept> all;
    for (const Interface& interface : state.mInterfaces) {
        if (interface.mState != oxa_zunic_registration_state_registered ||
            !numberFor(cTypeWords, typeWord(interface.mType))) {
            continue;
        }
        const Communicator* const owner = owners.of(interface);
        const auto application = owner == nullptr ? std::nullopt : owner->mProcess.mApplication;
        const std::uint32_t users = countUsers(interface, connections);
        const auto [place, isNew] =
            all.try_emplace({interface.mName, interface.mRole, interface.mDomain, interface.mType},
                            Kept{interface.mVersion, application, users});
        Kept& kept = place->second;
        kept.mLeastVersion = isOlder(interface.mVersion, kept.mLeastVersion) ? interface.mVersion : kept.mLeastVersion;
        kept.mLeastUsers = std::min(kept.mLeastUsers, users);
        if (kept.mApplication != application) {
            kept.mApplication.reset();
        }
    }
    return all;
}

} // namespace

void writeContract(std::ostream& out, const BusState& state)
{
    Json interfaces = Json::array();
    for (const auto& [identity, kept] : whatIsKept(state)) {
        const auto& [name, role, domain, type] = identity;
        const Oxa::Version& version = kept.mLeastVersion;
        Json json{{"name", nameToJson(std::string(name))},
                  {"role", nameToJson(std::string(role))},
                  {"domain", nameToJson(std::string(domain))},
                  {"type", typeWord(type)},
                  {"version", {version.mMajor, version.mMinor, version.mRevision}}};
        if (kept.mApplication) {
            json["application"] = nameToJson(escapedPattern(*kept.mApplication));
        }
        if (type == Oxa::eInterfaceInstanceTypeSkeleton && kept.mLeastUsers > 0) {
            json["users"] = {{"at_least", kept.mLeastUsers}};
        }
        interfaces.push_back(std::move(json));
    }
    out << Json{{"schema", cContractSchema}, {"interfaces", std::move(interfaces)}}.dump(2) << '\n';
}

} // namespace Inspect
