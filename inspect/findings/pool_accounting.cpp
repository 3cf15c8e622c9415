#include "inspect/findings/rule.h"

namespace Inspect {

namespace {

/// The last enlargement may be a smaller one, so with enlargements every total from the initial one on is honest.
bool isWrong(const Channel::MemoryManagerFigures& figures)
{
    return figures.mUsedBlocks > figures.mTotalBlocks || figures.mTotalBlocks < figures.mInitialBlocks ||
           (figures.mAdditionalBlocks == 0 && figures.mTotalBlocks != figures.mInitialBlocks);
}

void find(const Looks& looks, Report& report)
{
    const auto& managers = looks.mNow.state().mMemoryManagers;
    for (std::size_t i = 0; i < managers.size(); ++i) {
        // Figures are read one by one: a pool that grows meanwhile may look wrong once.
        const bool isConfirmed = looks.mBefore == nullptr || i >= looks.mBefore->state().mMemoryManagers.size() ||
                                 isWrong(looks.mBefore->state().mMemoryManagers[i]);
        if (isWrong(managers[i]) && isConfirmed) {
            report.add({SubjectKind::eMemoryManager, static_cast<std::uint32_t>(i), {}},
                       std::to_string(managers[i].mUsedBlocks) + " used of " +
                           std::to_string(managers[i].mTotalBlocks) + ", initially " +
                           std::to_string(managers[i].mInitialBlocks) + ", each enlargement adds " +
                           std::to_string(managers[i].mAdditionalBlocks));
        }
    }
}

} // namespace

extern const Rule cPoolAccounting{
    {"pool-accounting", Severity::eError,
     "A memory manager has more used than total blocks, fewer blocks than initially, or a different number than "
     "initially although it cannot grow; with two looks, in both.",
     "Its figures are damaged, and possibly other memory too.",
     "With one look only: a pool that grows while its figures are read.",
     "Save the state, and find the process that writes to the wrong place."},
    find};

} // namespace Inspect
