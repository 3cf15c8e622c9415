#include "inspect/findings/rule.h"

#include "inspect/view/holders.h"

namespace Inspect {

namespace {

void find(const Looks& looks, Report& report)
{
    const auto& managers = looks.mNow.state().mMemoryManagers;
    for (std::size_t i = 0; i < managers.size(); ++i) {
        const auto& [blockSize, initial, additional, total, used] = managers[i];
        if (additional == 0 && used < total && total - used < total / 10 + (total % 10 != 0 ? 1 : 0)) {
            report.add({SubjectKind::eMemoryManager, static_cast<std::uint32_t>(i), {}},
                       std::to_string(total - used) + " of " + std::to_string(total) + " blocks of " +
                           std::to_string(blockSize) + " bytes are free; " + holdersText(looks.mNow.blockHolders()[i]));
        }
    }
}

} // namespace

extern const Rule cPoolLow{
    {"pool-low", Severity::eWarning,
     "Less than a tenth of the blocks of a memory manager are free, and it cannot grow.", "The next burst can fill it.",
     "Pools that are sized without reserve on purpose. Pools that can grow are not reported.",
     "Configure more blocks for this memory manager, or find out who holds them: zunic_inspect show --memory."},
    find};

} // namespace Inspect
