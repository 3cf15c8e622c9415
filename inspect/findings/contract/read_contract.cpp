#include "inspect/bus/words.h"
#include "inspect/findings/contract/contract.h"
#include "inspect/saved/read_json.h"

#include <algorithm>
#include <array>

namespace Inspect {

namespace {

template <std::size_t Count>
void requireKnownMembers(const JsonPlace& place, const std::array<const char*, Count>& known)
{
    if (!place.value().is_object()) {
        place.expected("an object");
    }
    for (const auto& [key, value] : place.value().items()) {
        if (std::ranges::find(known, key) == known.end()) {
            place[key.c_str()].expected("no such member");
        }
    }
}

bool readFlag(const JsonPlace& place)
{
    if (!place.value().is_boolean()) {
        place.expected("true or false");
    }
    return place.value().get<bool>();
}

std::uint32_t readType(const JsonPlace& place)
{
    const auto type = numberFor(cTypeWords, place.text());
    if (!type) {
        place.expected("\"skeleton\" or \"stub\"");
    }
    return *type;
}

void readUsers(const JsonPlace& place, Expectation& expectation)
{
    requireKnownMembers(place, std::array{"at_least", "at_most"});
    if (place.has("at_least")) {
        expectation.mLeastUsers = place["at_least"].number<std::uint32_t>();
    }
    if (place.has("at_most")) {
        expectation.mMostUsers = place["at_most"].number<std::uint32_t>();
    }
}

Expectation readExpectation(const JsonPlace& place)
{
    requireKnownMembers(place,
                        std::array{"name", "role", "domain", "type", "forbidden", "version", "application", "users"});
    Expectation expectation;
    expectation.mName = place["name"].name();
    if (place.has("role")) {
        expectation.mRole = place["role"].name();
    }
    if (place.has("domain")) {
        expectation.mDomain = place["domain"].name();
    }
    if (place.has("type")) {
        expectation.mType = readType(place["type"]);
    }
    if (place.has("forbidden")) {
        expectation.mIsForbidden = readFlag(place["forbidden"]);
    }
    if (place.has("version")) {
        expectation.mLeastVersion = readVersion(place["version"]);
    }
    if (place.has("application")) {
        expectation.mApplication = place["application"].name();
    }
    if (place.has("users")) {
        readUsers(place["users"], expectation);
    }
    return expectation;
}

} // namespace

Contract readContract(std::istream& in)
{
    Contract contract;
    readJson(in, [&](const JsonPlace& document) {
        if (const JsonPlace schema = document["schema"]; schema.text() != cContractSchema) {
            schema.expected("the schema \"" + std::string(cContractSchema) + "\"");
        }
        requireKnownMembers(document, std::array{"$schema", "schema", "interfaces"});
        document["interfaces"].forEach([&](const JsonPlace& place) { contract.push_back(readExpectation(place)); });
    });
    return contract;
}

} // namespace Inspect
