#include "inspect/bus/block_holders.h"

#include <algorithm>

namespace Inspect {

namespace {

bool hasReadableFunctions(const Interface& interface)
{
    return interface.mFunctionsCut || (interface.mFunctions && !interface.mFunctions->empty());
}

void countBlocks(const Channel::MemoryManagerFigures& figures, BlockHolders& holders)
{
    std::ranges::stable_sort(holders.mReferences, {}, &BlockReference::mRange);
    const BlockReference* before = nullptr;
    for (const BlockReference& reference : holders.mReferences) {
        if (before == nullptr || before->mRange != reference.mRange) {
            ++(reference.mInterface != nullptr ? holders.mFunctionBlocks : holders.mMessageBlocks);
        }
        before = &reference;
    }
    const std::uint64_t known = holders.mFunctionBlocks + holders.mMessageBlocks;
    holders.mUnknownBlocks = figures.mUsedBlocks - std::min(known, figures.mUsedBlocks);
}

} // namespace

std::vector<BlockHolders> blockHolders(const BusState& state)
{
    const auto& managers = state.mMemoryManagers;
    std::vector<BlockHolders> all(managers.size());
    const auto add = [&](const OxaZunic::OxaZunicRangeLocation& location, const Interface* interface,
                         const Slot* slot) {
        const std::size_t manager = location.mMemoryManagerIndex;
        if (manager < managers.size() && location.mRangeIndex < managers[manager].mTotalBlocks) {
            all[manager].mReferences.push_back({location.mRangeIndex, interface, slot});
        }
    };
    for (const Interface& interface : state.mInterfaces) {
        if (hasReadableFunctions(interface)) {
            add(interface.mFunctionStorage, &interface, nullptr);
        }
    }
    for (const Slot& slot : state.mMessages.mSlots) {
        if (slot.mExternal) {
            add(*slot.mExternal, nullptr, &slot);
        }
    }
    for (std::size_t i = 0; i < managers.size(); ++i) {
        countBlocks(managers[i], all[i]);
    }
    return all;
}

} // namespace Inspect
