#include "inspect/findings/rule.h"

#include "inspect/view/holders.h"

namespace Inspect {

namespace {

bool isFull(const Channel::MemoryManagerFigures& figures)
{
    return figures.mTotalBlocks > 0 && figures.mUsedBlocks >= figures.mTotalBlocks && figures.mAdditionalBlocks == 0;
}

void find(const Looks& looks, Report& report)
{
    const auto& managers = looks.mNow.state().mMemoryManagers;
    for (std::size_t i = 0; i < managers.size(); ++i) {
        if (!isFull(managers[i])) {
            continue;
        }
        const bool wasFull = looks.mBefore != nullptr && i < looks.mBefore->state().mMemoryManagers.size() &&
                             isFull(looks.mBefore->state().mMemoryManagers[i]);
        report.add(wasFull ? Severity::eError : Severity::eWarning,
                   {SubjectKind::eMemoryManager, static_cast<std::uint32_t>(i), {}},
                   std::to_string(managers[i].mUsedBlocks) + " of " + std::to_string(managers[i].mTotalBlocks) +
                       " blocks of " + std::to_string(managers[i].mBlockSize) + " bytes; " +
                       holdersText(looks.mNow.blockHolders()[i]));
    }
}

} // namespace

extern const Rule cPoolFull{
    {"pool-full", Severity::eError,
     "A memory manager has no free block and cannot grow: a warning in one look, an error in two.",
     "No process can get a block of this size: messages are lost and functions cannot be published.",
     "A short burst can fill a pool in both looks. Pools that can grow are not reported, even at their largest size, "
     "which the data do not contain.",
     "Configure more blocks for this memory manager, or find out who holds them: zunic_inspect show --memory."},
    find};

} // namespace Inspect
