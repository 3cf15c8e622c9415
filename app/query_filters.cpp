#include "app/query_filters.h"

#include <algorithm>
#include <iterator>
#include <string_view>

namespace {

template <typename Value>
struct Word
{
    Value mValue;
    std::string_view mText;
};

constexpr Word<Oxa::InterfaceInstanceType> cInstanceTypes[] = {
    {Oxa::eInterfaceInstanceTypeUndefined, "eInterfaceInstanceTypeUndefined"},
    {Oxa::eInterfaceInstanceTypeStub, "eInterfaceInstanceTypeStub"},
    {Oxa::eInterfaceInstanceTypeSkeleton, "eInterfaceInstanceTypeSkeleton"},
};

constexpr Word<Oxa::InterfaceInstanceType> cShortInstanceTypes[] = {
    {Oxa::eInterfaceInstanceTypeSkeleton, "skeleton"},
    {Oxa::eInterfaceInstanceTypeStub, "stub"},
};

constexpr Word<OxaZunic::OxaZunicRegistrationState> cRegistrationStates[] = {
    {OxaZunic::eOxaZunicRegistrationStateInvalid, "eOxaZunicRegistrationStateInvalid"},
    {OxaZunic::eOxaZunicRegistrationStateRegistered, "eOxaZunicRegistrationStateRegistered"},
    {OxaZunic::eOxaZunicRegistrationStateUnregistered, "eOxaZunicRegistrationStateUnregistered"},
    {OxaZunic::eOxaZunicRegistrationStatePreregistered, "eOxaZunicRegistrationStatePreregistered"},
    {OxaZunic::eOxaZunicRegistrationStateUnknown, "eOxaZunicRegistrationStateUnknown"},
};

constexpr Word<OxaZunic::OxaZunicRegistrationState> cShortRegistrationStates[] = {
    {OxaZunic::eOxaZunicRegistrationStateInvalid, "invalid"},
    {OxaZunic::eOxaZunicRegistrationStateRegistered, "registered"},
    {OxaZunic::eOxaZunicRegistrationStateUnregistered, "unregistered"},
    {OxaZunic::eOxaZunicRegistrationStatePreregistered, "preregistered"},
    {OxaZunic::eOxaZunicRegistrationStateUnknown, "unknown"},
};

template <typename Value, std::size_t size>
bool lookUp(const Word<Value> (&words)[size], std::string_view text, Value& value)
{
    const auto found =
        std::find_if(std::begin(words), std::end(words), [&](const Word<Value>& word) { return word.mText == text; });
    if (found == std::end(words)) {
        return false;
    }
    value = found->mValue;
    return true;
}

} // namespace

bool getInterfaceType(const char* word, Oxa::InterfaceInstanceType& type)
{
    return lookUp(cInstanceTypes, word, type) || lookUp(cShortInstanceTypes, word, type);
}

bool getRegistrationState(const char* word, OxaZunic::OxaZunicRegistrationState& state)
{
    return lookUp(cRegistrationStates, word, state) || lookUp(cShortRegistrationStates, word, state);
}
