#include "inspect/findings/contract/write_contract.h"

#include "inspect/bus/words.h"
#include "inspect/findings/contract/contract.h"
#include "inspect/findings/rule.h"
#include "inspect/saved/json_text.h"
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
    std::optional<std::string> mApplication; ///< none when they belong to several, or it is unknown
    std::size_t mLeastUsers;
};

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

std::map<Identity, Kept> whatIsKept(const BusIndex& index)
{
    std::map<Identity, Kept> all;
    for (const Interface& interface : index.state().mInterfaces) {
        if (!isRegistered(interface) || !numberFor(cTypeWords, typeWord(interface.mType))) {
            continue;
        }
        const Communicator* const owner = index.ownerOf(interface);
        const auto application = owner == nullptr ? std::nullopt : owner->mProcess.mApplication;
        const std::size_t users = index.connectedStubs(interface);
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

Json toJson(const Identity& identity, const Kept& kept)
{
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
    return json;
}

/// A record as it stands in the array, two levels deep.
std::string indented(const Json& record)
{
    std::string text = jsonText(record, 2);
    for (std::size_t end = text.find('\n'); end != std::string::npos; end = text.find('\n', end + 1)) {
        text.insert(end + 1, "    ");
    }
    return text;
}

} // namespace

void writeContract(std::ostream& out, const BusIndex& index)
{
    out << "{\n  \"schema\": " << jsonText(cContractSchema) << ",\n  \"interfaces\": [";
    const char* separator = "\n    ";
    for (const auto& [identity, kept] : whatIsKept(index)) {
        out << separator << indented(toJson(identity, kept));
        separator = ",\n    ";
    }
    out << (*separator == ',' ? "\n  ]\n}\n" : "]\n}\n");
}

} // namespace Inspect
