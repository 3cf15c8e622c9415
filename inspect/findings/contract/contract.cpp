#include "inspect/findings/contract/contract.h"

#include "inspect/bus/words.h"
#include "inspect/saved/read_json.h"

#include <algorithm>
#include <initializer_list>
#include <string_view>
#include <tuple>

namespace Inspect {

namespace {

void requireKnownMembers(const JsonPlace& place, std::initializer_list<std::string_view> known)
{
    if (!place.value().is_object()) {
        place.expected("an object");
    }
    for (const auto& [key, value] : place.value().items()) {
        if (std::ranges::find(known, key) == known.end()) {
            place[key.c_str()].expected("no member of this name");
        }
    }
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
    requireKnownMembers(place, {"at_least", "at_most"});
    if (const auto least = place.find("at_least")) {
        expectation.mLeastUsers = least->number<std::uint32_t>();
    }
    if (const auto most = place.find("at_most")) {
        expectation.mMostUsers = most->number<std::uint32_t>();
    }
}

Expectation readExpectation(const JsonPlace& place)
{
    requireKnownMembers(place, {"name", "role", "domain", "type", "forbidden", "version", "application", "users"});
    Expectation expectation;
    expectation.mName = place["name"].name();
    if (const auto role = place.find("role")) {
        expectation.mRole = role->name();
    }
    if (const auto domain = place.find("domain")) {
        expectation.mDomain = domain->name();
    }
    if (const auto type = place.find("type")) {
        expectation.mType = readType(*type);
    }
    if (const auto forbidden = place.find("forbidden")) {
        expectation.mIsForbidden = forbidden->boolean();
    }
    if (const auto version = place.find("version")) {
        expectation.mLeastVersion = readVersion(*version);
    }
    if (const auto application = place.find("application")) {
        expectation.mApplication = application->name();
    }
    if (const auto users = place.find("users")) {
        readUsers(*users, expectation);
    }
    return expectation;
}

} // namespace

bool isOlder(const Oxa::Version& one, const Oxa::Version& other)
{
    return std::tie(one.mMajor, one.mMinor, one.mRevision) < std::tie(other.mMajor, other.mMinor, other.mRevision);
}

Contract readContract(std::istream& in)
{
    Contract contract;
    readJson(in, [&](const JsonPlace& document) {
        if (const JsonPlace schema = document["schema"]; schema.text() != cContractSchema) {
            schema.expected("the schema \"" + std::string(cContractSchema) + "\"");
        }
        requireKnownMembers(document, {"$schema", "schema", "interfaces"});
        const JsonPlace interfaces = document["interfaces"];
        if (interfaces.value().size() > cMostExpectations) {
            interfaces.fail("more than " + std::to_string(cMostExpectations) + " interfaces");
        }
        interfaces.forEach([&](const JsonPlace& place) { contract.push_back(readExpectation(place)); });
    });
    return contract;
}

} // namespace Inspect
