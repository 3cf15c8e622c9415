#include "inspect/findings/rule.h"

#include <algorithm>
#include <map>
#include <string_view>
#include <tuple>

namespace Inspect {

namespace {

constexpr std::size_t cMostEdits = 2;

/// Of names that share a third, so many are compared; with more the time would grow as the square of the names.
constexpr std::size_t cMostCompared = 64;

/// Whether one becomes the other by so many bytes inserted, removed or replaced.
bool areWithin(std::size_t edits, std::string_view one, std::string_view other)
{
    const auto same = static_cast<std::size_t>(std::ranges::mismatch(one, other).in1 - one.begin());
    one.remove_prefix(same);
    other.remove_prefix(same);
    if (one.empty() || other.empty() || edits == 0) {
        return std::max(one.size(), other.size()) <= edits;
    }
    return areWithin(edits - 1, one.substr(1), other.substr(1)) || areWithin(edits - 1, one.substr(1), other) ||
           areWithin(edits - 1, one, other.substr(1));
}

/// Two short names with two edits between them have nothing to do with each other.
bool areNear(std::string_view one, std::string_view other)
{
    const std::size_t edits = std::min(cMostEdits, (std::max(one.size(), other.size()) - 1) / 2);
    return areWithin(edits, one, other);
}

/// Names by their thirds: two edits leave one third of a name as it is, and move it by two bytes at most.
class Thirds
{
public:
    void add(const Interface& interface)
    {
        const std::size_t size = interface.mName.size();
        for (std::size_t third = 0; third < 3; ++third) {
            mInterfaces[{third, size, thirdOf(interface.mName, third, size, begin(third, size))}].push_back(&interface);
        }
    }

    /// One whose name is near that one; null when there is none.
    const Interface* nearOne(std::string_view name) const
    {
        for (std::size_t size = name.size() - std::min(name.size(), cMostEdits); size <= name.size() + cMostEdits;
             ++size) {
            for (std::size_t third = 0; third < 3; ++third) {
                if (const Interface* const found = nearOne(name, third, size)) {
                    return found;
                }
            }
        }
        return nullptr;
    }

private:
    using Key = std::tuple<std::size_t, std::size_t, std::string_view>; ///< which third, size of the name, the third

    static std::size_t begin(std::size_t third, std::size_t size) { return size * third / 3; }

    /// What stands at `place` and is as long as that third of a name of that size.
    static std::string_view thirdOf(std::string_view name, std::size_t third, std::size_t size, std::size_t place)
    {
        return name.substr(std::min(place, name.size()), begin(third + 1, size) - begin(third, size));
    }

    const Interface* nearOne(std::string_view name, std::size_t third, std::size_t size) const
    {
        const std::size_t home = begin(third, size);
        for (std::size_t place = home - std::min(home, cMostEdits); place <= home + cMostEdits; ++place) {
            const auto found = mInterfaces.find({third, size, thirdOf(name, third, size, place)});
            if (found == mInterfaces.end()) {
                continue;
            }
            const auto& alike = found->second;
            const auto last = alike.begin() + static_cast<std::ptrdiff_t>(std::min(alike.size(), cMostCompared));
            const auto near = std::find_if(alike.begin(), last,
                                           [&](const Interface* interface) { return areNear(interface->mName, name); });
            if (near != last) {
                return *near;
            }
        }
        return nullptr;
    }

    std::map<Key, std::vector<const Interface*>> mInterfaces;
};

/// Skeletons that no stub of their name and domain is there for, and that nothing is connected to.
Thirds unusedSkeletons(const BusIndex& index)
{
    Thirds thirds;
    for (const Interface& interface : index.state().mInterfaces) {
        if (interface.mType == Oxa::eInterfaceInstanceTypeSkeleton && index.serviceOf(interface).mStubs.empty() &&
            interface.mReceivers.empty() && index.holdersOf(interface.mId).empty()) {
            thirds.add(interface);
        }
    }
    return thirds;
}

void find(const Looks& looks, Report& report)
{
    const Thirds unused = unusedSkeletons(looks.mNow);
    for (const Interface& interface : looks.mNow.state().mInterfaces) {
        if (interface.mType != Oxa::eInterfaceInstanceTypeStub || !looks.mNow.serviceOf(interface).mSkeletons.empty()) {
            continue;
        }
        if (const Interface* const skeleton = unused.nearOne(interface.mName)) {
            report.add(subjectOf(interface), "skeleton " + std::to_string(skeleton->mId) + " is " +
                                                 quoted(skeleton->mName) + " in domain " + quoted(skeleton->mDomain));
        }
    }
}

} // namespace

extern const Rule cNearMiss{
    {"near-miss", Severity::eNote,
     "The name of a stub without provider is within two edits of the name of a skeleton without users, or equal to it "
     "in another domain.",
     "One of the two is probably a typo.",
     "Names that differ in a number. If more than 64 names share a third of their letters, a match can be missed.",
     "Compare both names and domains letter by letter."},
    find};

} // namespace Inspect
