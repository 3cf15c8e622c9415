#include "writer/text/oxa_zunic_enquirer_interface_text_file.h"

#include "oxa/oxa_memory_manager.h"

namespace Oxa {

using namespace ChannelLayout;

namespace {

void writeMemoryManager(std::ostream& out, oxa_memory_manager* manager)
{
    std::uint64_t blockSize = 0;
    std::uint64_t initialBlocks = 0;
    std::uint64_t additionalBlocks = 0;
    std::uint64_t totalBlocks = 0;
    std::uint64_t usedBlocks = 0;
    oxa_memory_manager_get_memory_block_status(manager, &blockSize, &initialBlocks, &additionalBlocks, &totalBlocks,
                                               &usedBlocks);
    out << "\nBlockSize " << blockSize << ", InitialNumBlocks " << initialBlocks << ", AdditionalBlocksOnEnlarge "
        << additionalBlocks << " | TotalNumBlocks " << totalBlocks << ", UsedBlocks " << usedBlocks << "\n";
}

} // namespace

void OxaZunicEnquirerInterfaceTextFile::printMemoryInfo(std::ofstream* out)
{
    if (mMessageStorage == nullptr || out == nullptr || !out->is_open() || mMemoryDispatcher == nullptr) {
        return;
    }
    auto* const managers = readAt<std::byte*>(mMemoryDispatcher, cDispatcherManagers);
    if (managers == nullptr) {
        return;
    }
    createHeader(out, "MemoryMgrsInfo LIST ");
    // The count is read again each time: managers may be added meanwhile.
    for (std::size_t i = 0; i < readAt<std::uint32_t>(mMemoryDispatcher, cDispatcherManagerCount); ++i) {
        std::byte* const manager = managers + i * cManagerEntrySize + cManagerInEntry;
        writeMemoryManager(*out, reinterpret_cast<oxa_memory_manager*>(manager));
    }
}

} // namespace Oxa
