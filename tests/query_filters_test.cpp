#include "app/query_filters.h"

#include <gtest/gtest.h>
#include <map>
#include <string>

namespace {

constexpr std::uint32_t cNone = 99;

struct Meaning
{
    std::uint32_t type = cNone;
    std::uint32_t state = cNone;
};

TEST(QueryWords, AreMatchedWholeAndWithCase)
{
    const std::map<std::string, Meaning> words = {
        {"eInterfaceInstanceTypeUndefined", {.type = 0}},
        {"eInterfaceInstanceTypeStub", {.type = 1}},
        {"eInterfaceInstanceTypeSkeleton", {.type = 2}},
        {"stub", {.type = 1}},
        {"skeleton", {.type = 2}},
        {"eOxaZunicRegistrationStateInvalid", {.state = 0}},
        {"eOxaZunicRegistrationStateRegistered", {.state = 1}},
        {"eOxaZunicRegistrationStateUnregistered", {.state = 2}},
        {"eOxaZunicRegistrationStatePreregistered", {.state = 3}},
        {"eOxaZunicRegistrationStateUnknown", {.state = 4}},
        {"invalid", {.state = 0}},
        {"registered", {.state = 1}},
        {"unregistered", {.state = 2}},
        {"preregistered", {.state = 3}},
        {"unknown", {.state = 4}},
    };
    std::map<std::string, Meaning> tried = words;
    for (const char* const word : {"", "Skeleton", "undefined", "stub ", "stu", "skeletons", "Registered", "register",
                                   "required", "eInterfaceInstanceType", "EOXAZUNICREGISTRATIONSTATEINVALID", "1"}) {
        tried.emplace(word, Meaning{});
    }
    for (const auto& [word, meaning] : tried) {
        auto type = static_cast<Oxa::InterfaceInstanceType>(cNone);
        auto state = static_cast<OxaZunic::OxaZunicRegistrationState>(cNone);
        EXPECT_EQ(getInterfaceType(word.c_str(), type), meaning.type != cNone) << word;
        EXPECT_EQ(getRegistrationState(word.c_str(), state), meaning.state != cNone) << word;
        EXPECT_EQ(type, meaning.type) << word;
        EXPECT_EQ(state, meaning.state) << word;
    }
}

} // namespace
