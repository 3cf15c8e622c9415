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
        if (interface.mType != Oxa::eInterfaceInstanceTypeSkeleton || !interface.mFunctions) {
            continue;
        }
        const Oxa::Version& version = interface.mVersion;
        const Key key{interface.mName, version.mMajor, version.mMinor, version.mRevision};
        const Interface& first = *firsts.try_emplace(key, &interface).first->second;
        if (first.mFunctions != interface.mFunctions) {
            report.add(subjectOf(interface), std::to_string(interface.mFunctions->size()) + " functions, interface " +
                                                 std::to_string(first.mId) + " of the same version " +
                                                 versionWord(version) + " has " +
                                                 std::to_string(first.mFunctions->size()) + ", or others");
        }
    }
}

} // namespace

extern const Rule cFunctionSkew{
    {"function-skew", Severity::eWarning, "Skeletons of one interface name and version have different function names.",
     "A user calls a function by its position: it gets another one, or none.",
     "Function names are read after the registry: one that was registered anew in between.",
     "Build both providers from the same description of the interface, or count the version up."},
    find};

} // namespace Inspect
