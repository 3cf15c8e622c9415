#include "inspect/findings/contract/compare_contract.h"

#include "inspect/bus/words.h"
#include "inspect/findings/rule.h"

#include <array>
#include <fnmatch.h>

namespace Inspect {

namespace {

constexpr FindingKind cMissing{"contract-missing",
                               Severity::eError,
                               "The contract expects an interface that is not registered.",
                               "What needs it does not work.",
                               "During start-up, whatever has not come yet.",
                               "Start the process that it should come from, or correct the contract."};
constexpr FindingKind cForbidden{"contract-forbidden",
                                 Severity::eError,
                                 "An interface is in use that the contract forbids.",
                                 "It was left out on purpose: a test interface in the field, for one.",
                                 "None is known.",
                                 "Find out who started that process, or correct the contract."};
constexpr FindingKind cVersion{"contract-version",
                               Severity::eError,
                               "An interface is older than the contract expects.",
                               "Users may need what it does not have yet.",
                               "None is known.",
                               "Update that process, or correct the contract."};
constexpr FindingKind cApplication{
    "contract-application",
    Severity::eError,
    "An interface is provided or used by another application than the contract expects.",
    "Somebody has taken its place.",
    "An executable that was renamed. Where the application is not to be known, the finding is a note.",
    "Find out what that process is, or correct the contract."};
constexpr FindingKind cUsers{"contract-users",
                             Severity::eError,
                             "Fewer or more registered stubs are connected to an interface than the contract expects.",
                             "Some user has not come, or is there twice.",
                             "During start-up, whoever has not come yet.",
                             "Look for the users with zunic_inspect show, or correct the contract."};

constexpr std::array cKinds{&cMissing, &cForbidden, &cVersion, &cApplication, &cUsers};

std::string describe(const Expectation& expectation)
{
    return typeWord(expectation.mType) + (expectation.mRole ? " in role " + quoted(*expectation.mRole) : "") +
           " in domain " + quoted(expectation.mDomain);
}

/// Checks a bus against one expectation after the other.
class Comparison
{
public:
    explicit Comparison(const BusIndex& index) : mIndex(index) {}

    void check(const Expectation& expectation)
    {
        bool isThere = false;
        for (const Interface& interface : mIndex.state().mInterfaces) {
            if (!isMeant(expectation, interface)) {
                continue;
            }
            if (expectation.mIsForbidden) {
                add(cForbidden, subjectOf(interface), "forbidden: " + describe(expectation));
            } else if (isRegistered(interface)) {
                isThere = true;
                checkInterface(expectation, interface);
            }
        }
        if (!isThere && !expectation.mIsForbidden) {
            add(cMissing, {SubjectKind::eBus, 0, expectation.mName}, describe(expectation));
        }
    }

    std::vector<Finding> takeFindings() { return std::move(mFindings); }

private:
    static bool isMeant(const Expectation& expectation, const Interface& interface)
    {
        return interface.mName == expectation.mName && interface.mDomain == expectation.mDomain &&
               interface.mType == expectation.mType && (!expectation.mRole || interface.mRole == *expectation.mRole);
    }

    void add(const FindingKind& kind, Subject subject, std::string evidence, Severity severity = Severity::eError)
    {
        mFindings.push_back({&kind, severity, std::move(subject), std::move(evidence)});
    }

    void checkInterface(const Expectation& expectation, const Interface& interface)
    {
        checkVersion(expectation, interface);
        checkApplication(expectation, interface);
        const std::size_t users = mIndex.connectedStubs(interface);
        if (users < expectation.mLeastUsers.value_or(0) || users > expectation.mMostUsers.value_or(users)) {
            add(cUsers, subjectOf(interface),
                "users: " + std::to_string(users) +
                    (expectation.mLeastUsers ? ", at least " + std::to_string(*expectation.mLeastUsers) : "") +
                    (expectation.mMostUsers ? ", at most " + std::to_string(*expectation.mMostUsers) : "") +
                    " expected");
        }
    }

    void checkVersion(const Expectation& expectation, const Interface& interface)
    {
        if (expectation.mLeastVersion && isOlder(interface.mVersion, *expectation.mLeastVersion)) {
            add(cVersion, subjectOf(interface),
                versionWord(interface.mVersion) + ", at least " + versionWord(*expectation.mLeastVersion) +
                    " expected");
        }
    }

    void checkApplication(const Expectation& expectation, const Interface& interface)
    {
        if (!expectation.mApplication) {
            return;
        }
        const Communicator* const owner = mIndex.ownerOf(interface);
        const std::string expected = "; expected " + quoted(*expectation.mApplication);
        if (owner == nullptr || !owner->mProcess.mApplication) {
            add(cApplication, subjectOf(interface), "not to be known" + expected, Severity::eNote);
        } else if (fnmatch(expectation.mApplication->c_str(), owner->mProcess.mApplication->c_str(), 0) != 0) {
            add(cApplication, subjectOf(interface), quoted(*owner->mProcess.mApplication) + expected);
        }
    }

    const BusIndex& mIndex;
    std::vector<Finding> mFindings;
};

} // namespace

std::vector<Finding> compareWithContract(const Contract& contract, const BusIndex& index)
{
    Comparison comparison(index);
    for (const Expectation& expectation : contract) {
        comparison.check(expectation);
    }
    return comparison.takeFindings();
}

std::span<const FindingKind* const> contractKinds()
{
    return cKinds;
}

} // namespace Inspect
