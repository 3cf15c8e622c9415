#include "inspect/findings/rule.h"

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
                           std::to_string(blockSize) + " bytes are free");
        }
    }
}

} // namespace

extern const Rule cPoolLow{
    {"pool-low", Severity::eWarning, "A memory manager has fewer than a tenth of its blocks free, and none to add.",
     "The next burst fills it.", "Pools that are cut to fit. One that may still grow is never told.",
     "Give that memory manager more blocks, or find out who keeps them."},
    find};

} // namespace Inspect
