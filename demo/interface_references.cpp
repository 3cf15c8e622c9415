#include "interface_references.h"

#include <charconv>

namespace ZunicDemo {

namespace {

using ZunicHosting::cInterfaceCapacity;

constexpr std::uint64_t cLargestSender = 4095; // 12 bits in a message slot
constexpr std::size_t cLongestReference = 511; // name, slash and role

std::optional<std::size_t> readId(std::string_view digits)
{
    std::size_t id = 0;
    const char* const end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, id);
    if (error != std::errc{} || stop != end || id >= cInterfaceCapacity) {
        return std::nullopt;
    }
    return id;
}

/// The ids of "7" or "0-511"; none when `text` is not like that.
InterfaceSet readRange(std::string_view text)
{
    const std::size_t dash = text.find('-');
    const std::optional<std::size_t> first = readId(text.substr(0, dash));
    const std::optional<std::size_t> last = dash == std::string_view::npos ? first : readId(text.substr(dash + 1));
    InterfaceSet ids;
    if (first && last) {
        for (std::size_t id = *first; id <= *last; ++id) {
            ids.set(id);
        }
    }
    return ids;
}

} // namespace

void InterfaceReferences::add(const InterfaceEntry& interface)
{
    if (interface.state != ZunicHosting::RegistrationState::unregistered) {
        mConnectable.set(interface.id);
    }
    mByNameAndRole[interface.name + "/" + interface.role].set(interface.id);
}

InterfaceSet InterfaceReferences::fromText(const JsonPlace& place, const PlaceholderNumbers& numbers) const
{
    const std::string text = readText(place, numbers, cLongestReference);
    // Names come first: an interface may well be called "1/2-3".
    if (const auto found = mByNameAndRole.find(text); found != mByNameAndRole.end()) {
        return found->second;
    }
    const InterfaceSet ids = readRange(text);
    if (ids.none()) {
        place.expected("an interface id (0 to 1023), a range of ids or the name/role of an interface");
    }
    return ids;
}

InterfaceSet InterfaceReferences::anyIds(const JsonPlace& place, const PlaceholderNumbers& numbers) const
{
    InterfaceSet ids;
    if (place.value().is_array()) {
        place.forEach([&](const JsonPlace& element) {
            if (element.value().is_array()) {
                element.expected("an interface id, a range of ids or the name/role of an interface");
            }
            ids |= anyIds(element, numbers);
        });
        return ids;
    }
    if (place.value().is_string()) {
        return fromText(place, numbers);
    }
    return ids.set(place.unsignedWithin({0, cInterfaceCapacity - 1}));
}

InterfaceSet InterfaceReferences::connectable(const JsonPlace& place, const PlaceholderNumbers& numbers) const
{
    const InterfaceSet ids = anyIds(place, numbers);
    const InterfaceSet others = ids & ~mConnectable;
    if (others.any()) {
        place.fail("expected registered interfaces of this scenario, but " + std::to_string(idsOf(others).front()) +
                   " is not one of them");
    }
    return ids;
}

std::uint16_t InterfaceReferences::sender(const JsonPlace& place, const PlaceholderNumbers& numbers) const
{
    if (!place.value().is_string()) {
        return static_cast<std::uint16_t>(place.unsignedWithin({0, cLargestSender}));
    }
    const InterfaceSet ids = fromText(place, numbers);
    if (ids.count() != 1) {
        place.fail("expected one interface, not " + std::to_string(ids.count()));
    }
    return idsOf(ids).front();
}

} // namespace ZunicDemo
