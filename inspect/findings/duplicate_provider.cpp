#include "inspect/findings/rule.h"

#include <map>

namespace Inspect {

namespace {

void find(const Looks& looks, Report& report)
{
    for (const Service& service : looks.mNow.services()) {
        std::map<std::string_view, std::vector<const Interface*>> byRole;
        for (const Interface* const skeleton : service.mSkeletons) {
            if (isRegistered(*skeleton)) {
                byRole[skeleton->mRole].push_back(skeleton);
            }
        }
        for (const auto& [role, skeletons] : byRole) {
            if (skeletons.size() > 1) {
                std::vector<std::uint16_t> ids;
                for (const Interface* const skeleton : skeletons) {
                    ids.push_back(skeleton->mId);
                }
                report.add(subjectOf(*skeletons.front()), std::to_string(ids.size()) + " skeletons in role " +
                                                              quoted(std::string(role)) + ": " + listed(ids));
            }
        }
    }
}

} // namespace

extern const Rule cDuplicateProvider{
    {"duplicate-provider", Severity::eWarning,
     "Two registered skeletons have the same interface name, role and domain.",
     "Which of them a user gets is undefined.",
     "Providers that are duplicated on purpose, to share load or for failover.",
     "Find out which process should not run. A second instance was probably started by mistake."},
    find};

} // namespace Inspect
