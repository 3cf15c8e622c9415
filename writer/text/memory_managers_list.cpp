#include "channel/memory_managers.h"
#include "writer/text/oxa_zunic_enquirer_interface_text_file.h"

namespace Oxa {

void OxaZunicEnquirerInterfaceTextFile::printMemoryInfo(std::ofstream* out)
{
    if (mMessageStorage == nullptr || out == nullptr || !out->is_open() || mMemoryDispatcher == nullptr) {
        return;
    }
    const Channel::MemoryManagers managers(mMemoryDispatcher);
    if (!managers.isPresent()) {
        return;
    }
    createHeader(out, "MemoryMgrsInfo LIST ");
    for (std::size_t i = 0; i < managers.count(); ++i) {
        const Channel::MemoryManagerFigures figures = managers.figures(i);
        *out << "\nBlockSize " << figures.mBlockSize << ", InitialNumBlocks " << figures.mInitialBlocks
             << ", AdditionalBlocksOnEnlarge " << figures.mAdditionalBlocks << " | TotalNumBlocks "
             << figures.mTotalBlocks << ", UsedBlocks " << figures.mUsedBlocks << "\n";
    }
}

} // namespace Oxa
