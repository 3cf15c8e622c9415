#include "inspect/findings/findings.h"

#include "inspect/cli/printable.h"
#include "inspect/findings/rule.h"
#include "inspect/view/cells.h"

#include <algorithm>
#include <array>
#include <optional>

// One line for each finding: they are looked for, explained and sorted (among those of one severity) in this order.
#define RULES(RULE)                                                                                                    \
    RULE(cDeadProcess)                                                                                                 \
    RULE(cOrphanInterface)                                                                                             \
    RULE(cDanglingLink)                                                                                                \
    RULE(cNoProvider)                                                                                                  \
    RULE(cNotConnected)                                                                                                \
    RULE(cStuckRequired)                                                                                               \
    RULE(cDuplicateProvider)                                                                                           \
    RULE(cVersionSkew)                                                                                                 \
    RULE(cFunctionSkew)                                                                                                \
    RULE(cNearMiss)                                                                                                    \
    RULE(cPoolFull)                                                                                                    \
    RULE(cPoolLow)                                                                                                     \
    RULE(cPoolAccounting)                                                                                              \
    RULE(cSlotsLow)                                                                                                    \
    RULE(cStuckSlot)                                                                                                   \
    RULE(cUndelivered)                                                                                                 \
    RULE(cBrokenChain)                                                                                                 \
    RULE(cRegistryFull)

namespace Inspect {

#define DECLARE(rule) extern const Rule rule;
RULES(DECLARE)

namespace {

#define ADDRESS(rule) &(rule),
constexpr std::array cRules{RULES(ADDRESS)};

} // namespace

std::string quoted(const std::string& name)
{
    return '"' + printable(name, Blanks::eEscaped) + '"';
}

std::string listed(const std::vector<std::uint16_t>& ids)
{
    constexpr std::size_t cShown = 8;
    std::string text;
    for (std::size_t i = 0; i < std::min(ids.size(), cShown); ++i) {
        appendListed(text, ids[i]);
    }
    return ids.size() <= cShown ? text : text + " and " + std::to_string(ids.size() - cShown) + " more";
}

std::span<const FindingKind> findingKinds()
{
    static const auto cKinds = [] {
        std::array<FindingKind, cRules.size()> kinds{};
        std::ranges::transform(cRules, kinds.begin(), [](const Rule* rule) { return rule->mKind; });
        return kinds;
    }();
    return cKinds;
}

std::vector<Finding> findAll(const BusState& now, const BusState* before)
{
    const Look look(now);
    std::optional<Look> lookBefore;
    if (before != nullptr) {
        lookBefore.emplace(*before);
    }
    Findings findings;
    for (const Rule* const rule : cRules) {
        rule->mFind({look, lookBefore ? &*lookBefore : nullptr}, *rule, findings);
    }
    std::ranges::stable_sort(findings, std::ranges::greater(), &Finding::mSeverity);
    return findings;
}

} // namespace Inspect
