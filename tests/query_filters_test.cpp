#include "app/query_filters.h"

#include <gtest/gtest.h>
#include <string>

namespace {

constexpr int cUnknown = -1;

int typeOf(const std::string& word)
{
    Oxa::InterfaceInstanceType type{};
    return getInterfaceType(word.c_str(), type) ? static_cast<int>(type) : cUnknown;
}

int stateOf(const std::string& word)
{
    OxaZunic::OxaZunicRegistrationState state{};
    return getRegistrationState(word.c_str(), state) ? static_cast<int>(state) : cUnknown;
}

TEST(QueryWords, AreMatchedWholeAndWithCase)
{
    const struct
    {
        std::string word;
        int type;
        int state;
    } words[] = {
        {"eInterfaceInstanceTypeUndefined", 0, cUnknown},
        {"eInterfaceInstanceTypeStub", 1, cUnknown},
        {"eInterfaceInstanceTypeSkeleton", 2, cUnknown},
        {"stub", 1, cUnknown},
        {"skeleton", 2, cUnknown},
        {"eOxaZunicRegistrationStateInvalid", cUnknown, 0},
        {"eOxaZunicRegistrationStateRegistered", cUnknown, 1},
        {"eOxaZunicRegistrationStateUnregistered", cUnknown, 2},
        {"eOxaZunicRegistrationStatePreregistered", cUnknown, 3},
        {"eOxaZunicRegistrationStateUnknown", cUnknown, 4},
        {"invalid", cUnknown, 0},
        {"registered", cUnknown, 1},
        {"unregistered", cUnknown, 2},
        {"preregistered", cUnknown, 3},
        {"unknown", cUnknown, 4},
    };
    for (const auto& [word, type, state] : words) {
        EXPECT_EQ(typeOf(word), type) << word;
        EXPECT_EQ(stateOf(word), state) << word;
    }
    for (const char* const word : {"", "Skeleton", "undefined", "stub ", "stu", "Registered", "register", "required"}) {
        EXPECT_EQ(typeOf(word), cUnknown) << word;
        EXPECT_EQ(stateOf(word), cUnknown) << word;
    }
}

} // namespace
