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
     "A memory manager has more blocks in use than in all, fewer in all than initially, or "
     "others than initially though "
     "it cannot grow; with a second look, in both.",
     "Its figures are damaged, and perhaps not they alone.",
     "With one look only, a pool that grew while its figures were read.",
     "Save the state, and look for a process that writes where it should not."},
    find};

} // namespace Inspect
