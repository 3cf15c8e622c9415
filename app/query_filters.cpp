#include "app/query_filters.h"

#include <algorithm>
#include <iterator>
#include <string_view>

namespace {

template <typename Value>
struct Word
{
    Value value;
    std::string_view text;
};

constexpr Word<Oxa::InterfaceInstanceType> cTypeWords[] = {
    {Oxa::eInterfaceInstanceTypeUndefined, "eInterfaceInstanceTypeUndefined"},
    {Oxa::eInterfaceInstanceTypeStub, "eInterfaceInstanceTypeStub"},
    {Oxa::eInterfaceInstanceTypeSkeleton, "eInterfaceInstanceTypeSkeleton"},
    {Oxa::eInterfaceInstanceTypeSkeleton, "skeleton"},
    {Oxa::eInterfaceInstanceTypeStub, "stub"},
};

constexpr Word<OxaZunic::OxaZunicRegistrationState> cStateWords[] = {
    {OxaZunic::eOxaZunicRegistrationStateInvalid, "eOxaZunicRegistrationStateInvalid"},
    {OxaZunic::eOxaZunicRegistrationStateRegistered, "eOxaZunicRegistrationStateRegistered"},
    {OxaZunic::eOxaZunicRegistrationStateUnregistered, "eOxaZunicRegistrationStateUnregistered"},
    {OxaZunic::eOxaZunicRegistrationStatePreregistered, "eOxaZunicRegistrationStatePreregistered"},
    {OxaZunic::eOxaZunicRegistrationStateUnknown, "eOxaZunicRegistrationStateUnknown"},
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
        std::find_if(std::begin(words), std::end(words), [&](const Word<Value>& word) { return word.text == text; });
    if (found == std::end(words)) {
        return false;
    }
    value = found->value;
    return true;
}

} // namespace

bool getInterfaceType(const char* word, Oxa::InterfaceInstanceType& type)
{
    return lookUp(cTypeWords, word, type);
}

bool getRegistrationState(const char* word, OxaZunic::OxaZunicRegistrationState& state)
{
    return lookUp(cStateWords, word, state);
}
