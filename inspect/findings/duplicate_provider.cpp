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
    {"duplicate-provider", Severity::eWarning, "Two registered skeletons have one interface name, role and domain.",
     "Which of them a user gets is a matter of chance.",
     "Some providers are doubled on purpose, to share the work or to take over.",
     "Find out which process is the wrong one; a second instance was perhaps started by mistake."},
    find};

} // namespace Inspect
