#include "inspect/findings/findings.h"

#include "inspect/findings/contract/compare_contract.h"
#include "inspect/findings/rule.h"

#include <algorithm>
#include <array>

namespace Inspect {

extern const Rule cBrokenChain, cDanglingLink, cDeadProcess, cDuplicateProvider, cFunctionSkew, cNearMiss, cNoProvider,
    cNotConnected, cOrphanInterface, cPoolAccounting, cPoolFull, cPoolLow, cRegistryFull, cSlotsLow, cStuckRequired,
    cStuckSlot, cUndelivered, cVersionSkew;

namespace {

/// One line for each: they are looked for, explained and sorted (among those of one severity) in this order.
constexpr std::array cRules{
    &cDeadProcess,       &cOrphanInterface, &cDanglingLink, &cNoProvider,  &cNotConnected, &cStuckRequired,
    &cDuplicateProvider, &cVersionSkew,     &cFunctionSkew, &cNearMiss,    &cPoolFull,     &cPoolLow,
    &cPoolAccounting,    &cSlotsLow,        &cStuckSlot,    &cUndelivered, &cBrokenChain,  &cRegistryFull,
};

constexpr auto cKinds = [] {
    std::array<const FindingKind*, cRules.size()> kinds{};
    std::ranges::transform(cRules, kinds.begin(), [](const Rule* rule) { return &rule->mKind; });
    return kinds;
}();

void sortBySeverity(std::vector<Finding>& findings)
{
    std::ranges::stable_sort(findings, std::ranges::greater(), &Finding::mSeverity);
}

} // namespace

std::span<const FindingKind* const> findingKinds()
{
    return cKinds;
}

const FindingKind* findingKind(std::string_view code)
{
    for (const auto kinds : {findingKinds(), contractKinds()}) {
        const auto found = std::ranges::find(kinds, code, &FindingKind::mCode);
        if (found != kinds.end()) {
            return *found;
        }
    }
    return nullptr;
}

std::vector<Finding> findAll(const BusIndex& now, const BusIndex* before)
{
    std::vector<Finding> findings;
    for (const Rule* const rule : cRules) {
        Report report(rule->mKind, findings);
        rule->mFind({now, before}, report);
    }
    sortBySeverity(findings);
    return findings;
}

void addBreaches(const Contract& contract, const BusIndex& now, std::vector<Finding>& findings)
{
    for (Finding& finding : findings) {
        if (finding.mKind == &cNoProvider.mKind) {
            finding.mSeverity = Severity::eError;
        }
    }
    const std::vector<Finding> breaches = compareWithContract(contract, now);
    findings.insert(findings.begin(), breaches.begin(), breaches.end());
    sortBySeverity(findings);
}

} // namespace Inspect
