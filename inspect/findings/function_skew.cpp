#include "inspect/bus/words.h"
#include "inspect/findings/rule.h"

#include <map>
#include <tuple>

namespace Inspect {

namespace {

using Key = std::tuple<std::string_view, std::uint32_t, std::uint32_t, std::uint32_t>; ///< name and version

void find(const Looks& looks, Report& report)
{
    std::map<Key, const Interface*> firsts;
    for (const Interface& interface : looks.mNow.state().mInterfaces) {
        if (interface.mType != Oxa::eInterfaceInstanceTypeSkeleton || !interface.mFunctions ||
            interface.mFunctionsCut) {
            continue;
        }
        const Oxa::Version& version = interface.mVersion;
        const Key key{interface.mName, version.mMajor, version.mMinor, version.mRevision};
        const Interface& first = *firsts.try_emplace(key, &interface).first->second;
        if (first.mFunctions != interface.mFunctions) {
            report.add(subjectOf(interface),
                       std::to_string(interface.mFunctions->size()) + " functions, different from the " +
                           std::to_string(first.mFunctions->size()) + " of interface " + std::to_string(first.mId) +
                           " of the same version " + versionWord(version));
        }
    }
}

} // namespace

extern const Rule cFunctionSkew{
    {"function-skew", Severity::eWarning,
     "Skeletons with the same interface name and version have different functions.",
     "Users call functions by position and can reach the wrong one.",
     "Function names are read after the registry: an interface that registers again in between.",
     "Build both providers from the same interface description, or increase the version."},
    find};

} // namespace Inspect
