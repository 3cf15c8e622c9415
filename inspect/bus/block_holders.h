#ifndef INSPECT_BUS_BLOCK_HOLDERS_H
#define INSPECT_BUS_BLOCK_HOLDERS_H

#include "inspect/bus/bus_state.h"

#include <cstdint>
#include <vector>

namespace Inspect {

/// One reference to a block of a memory manager.
struct BlockReference
{
    std::uint16_t mRange = 0;
    const Interface* mInterface = nullptr; ///< whose functions the block holds; null: it is a message's data
    const Slot* mSlot = nullptr;           ///< of the message; null: it holds functions
};

/// Who holds the blocks of a memory manager, as far as a state shows it. Its parts are not of one instant: there can be
/// more references than used blocks.
struct BlockHolders
{
    std::vector<BlockReference> mReferences; ///< by range; of one range those of functions first
    std::uint64_t mFunctionBlocks = 0;       ///< that hold functions, each once
    std::uint64_t mMessageBlocks = 0;        ///< that hold data of messages, and no functions, each once
    std::uint64_t mUnknownBlocks = 0;        ///< used blocks that nothing in the state refers to
};

/// By index of the memory manager. An interface refers to the block that its functions were read from: a location
/// without functions may be that of no storage. A message, also one that is being written, refers to the block with its
/// external data. A range that the memory manager does not have counts for nothing.
std::vector<BlockHolders> blockHolders(const BusState& state);

} // namespace Inspect

#endif
