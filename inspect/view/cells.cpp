#include "inspect/view/cells.h"

#include <array>
#include <cstdio>

namespace Inspect {

namespace {

/// Damaged figures may have more used blocks than there are.
std::uint64_t freeBlocks(const Channel::MemoryManagerFigures& figures)
{
    return figures.mTotalBlocks < figures.mUsedBlocks ? 0 : figures.mTotalBlocks - figures.mUsedBlocks;
}

std::string formatted(const char* format, double number)
{
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), format, number);
    return text.data();
}

} // namespace

void appendListed(std::string& text, std::uint64_t number)
{
    if (!text.empty()) {
        text += ',';
    }
    text += std::to_string(number);
}

Cell numberCell(std::uint64_t number)
{
    return {std::to_string(number)};
}

Cell stateCell(std::uint32_t state)
{
    return {stateWord(state), state == oxa_zunic_registration_state_registered ? nullptr : cUneasyColor};
}

Cell livingCell(Living living)
{
    return {livingWord(living), living == Living::eNo ? cBadColor : nullptr};
}

Cell idsCell(const IdSet& ids)
{
    std::string text;
    for (const std::uint16_t id : ids) {
        appendListed(text, id);
    }
    return {text};
}

Cell freeBlocksCell(const Channel::MemoryManagerFigures& figures)
{
    const std::uint64_t blocks = freeBlocks(figures);
    return {std::to_string(blocks), blocks == 0 ? cBadColor : nullptr};
}

Cell usedShareCell(const Channel::MemoryManagerFigures& figures)
{
    if (figures.mTotalBlocks == 0) {
        return {};
    }
    return {formatted("%.0f%%",
                      100.0 * static_cast<double>(figures.mUsedBlocks) / static_cast<double>(figures.mTotalBlocks))};
}

Cell chainFaultCell(const Channel::DataChain& chain)
{
    return chain.mEnd == Channel::ChainEnd::eWhole
               ? Cell{}
               : Cell{chainEndWord(chain.mEnd) + ":" + std::to_string(chain.mNextIndex), cBadColor};
}

Cell applicationCell(const Communicator* owner)
{
    return owner == nullptr ? Cell{} : cellOf(owner->mProcess.mApplication, {});
}

Cell processIdCell(const Communicator* owner)
{
    return owner == nullptr ? Cell{} : numberCell(owner->mProcessId);
}

Cell livingCell(const Communicator* owner)
{
    return owner == nullptr ? Cell{} : livingCell(owner->mProcess.mLiving);
}

Cell cellOf(const std::string& name, Words /*none*/)
{
    return {name};
}

Cell cellOf(const std::optional<std::string>& name, Words /*none*/)
{
    return {name.value_or("")};
}

Cell cellOf(const Oxa::Version& version, Words /*none*/)
{
    return {versionWord(version)};
}

Cell cellOf(const std::optional<std::chrono::milliseconds>& time, Words /*none*/)
{
    return time ? Cell{formatted("%.2f", static_cast<double>(time->count()) / 1000)} : Cell{};
}

Cell cellOf(Living living, Words /*its own*/)
{
    return livingCell(living);
}

Cell cellOf(Channel::SlotState state, Words /*its own*/)
{
    return {slotStateWord(state)};
}

Cell cellOf(const IdSet& ids, Words /*none*/)
{
    return idsCell(ids);
}

Cell cellOf(const Channel::DataChain& chain, Words /*none*/)
{
    std::string text;
    for (const Channel::DataEntry& entry : chain.mEntries) {
        appendListed(text, entry.mIndex);
    }
    return {text};
}

Cell cellOf(const std::optional<OxaZunic::OxaZunicRangeLocation>& location, Words /*none*/)
{
    return location ? Cell{std::to_string(location->mMemoryManagerIndex) + "/" + std::to_string(location->mRangeIndex)}
                    : Cell{};
}

} // namespace Inspect
