#include "inspect/findings/rule.h"

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
                       " blocks of " + std::to_string(managers[i].mBlockSize) + " bytes");
    }
}

} // namespace

extern const Rule cPoolFull{
    {"pool-full", Severity::eError,
     "A memory manager has no free block and none to add. A warning in one look, an error in two.",
     "Whoever needs a block of that size gets none: messages are lost, functions cannot be published.",
     "A short burst can fill a pool in both looks. One that may still grow is never told, even where it has reached "
     "its largest size, which the data do not tell.",
     "Give that memory manager more blocks, or find out who keeps them."},
    find};

} // namespace Inspect
