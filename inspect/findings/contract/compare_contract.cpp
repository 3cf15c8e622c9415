#include "inspect/findings/contract/compare_contract.h"

#include "inspect/bus/words.h"
#include "inspect/findings/rule.h"
#include "inspect/saved/no_state.h"

#include <array>
#include <fnmatch.h>

namespace Inspect {

namespace {

constexpr FindingKind cMissing{"contract-missing",
                               Severity::eError,
                               "The contract expects an interface that is not registered.",
                               "Its users do not work.",
                               "During start-up, interfaces that are not registered yet.",
                               "Start its provider, or correct the contract."};
constexpr FindingKind cForbidden{"contract-forbidden",
                                 Severity::eError,
                                 "An interface that the contract forbids is in use.",
                                 "It is forbidden on purpose, for example a test interface in the field.",
                                 "None known.",
                                 "Find out why the process runs, or correct the contract."};
constexpr FindingKind cVersion{"contract-version",
                               Severity::eError,
                               "An interface is older than the contract expects.",
                               "Users can need features that it lacks.",
                               "None known.",
                               "Update the process, or correct the contract."};
constexpr FindingKind cApplication{"contract-application",
                                   Severity::eError,
                                   "An interface is provided or used by another application than the contract expects.",
                                   "Another program has taken its place.",
                                   "A renamed executable. If the application is unknown, the finding is a note.",
                                   "Find out which program it is, or correct the contract."};
constexpr FindingKind cUsers{"contract-users",
                             Severity::eError,
                             "More or fewer registered stubs are connected to an interface than the contract expects.",
                             "A user is missing, or runs twice.",
                             "During start-up, users that are not registered yet.",
                             "List the users with zunic_inspect show, or correct the contract."};

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
        // A contract that expects the same thousands of times would need memory for each of its interfaces as often.
        if (mFindings.size() == cMostExpectations) {
            throw NoState("contract: more than " + std::to_string(cMostExpectations) + " findings");
        }
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
            add(cApplication, subjectOf(interface), "unknown" + expected, Severity::eNote);
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
