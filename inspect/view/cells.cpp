#include "inspect/view/cells.h"

#include <array>
#include <cmath>
#include <cstdio>
#include <functional>

namespace Inspect {

namespace {

/// Damaged figures may have more used blocks than there are.
std::uint64_t freeBlocks(const Channel::MemoryManagerFigures& figures)
{
    return figures.mTotalBlocks < figures.mUsedBlocks ? 0 : figures.mTotalBlocks - figures.mUsedBlocks;
}

/// How many items of a list are shown unless it is whole.
constexpr std::size_t cShownItems = 8;

/// One word, whatever is left out.
template <typename List, typename NumberOf>
Cell listCell(const List& list, ListLength length, NumberOf numberOf)
{
    std::string text;
    std::size_t shown = 0;
    for (const auto& item : list) {
        if (length == ListLength::eShort && shown == cShownItems) {
            text += ",+" + std::to_string(list.size() - shown) + "more";
            break;
        }
        appendListed(text, numberOf(item));
        ++shown;
    }
    return {text};
}

} // namespace

std::string formatted(const char* format, double number)
{
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), format, number);
    return text.data();
}

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

Cell idsCell(const std::vector<std::uint16_t>& ids, ListLength length)
{
    return listCell(ids, length, std::identity());
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
    const double share = static_cast<double>(figures.mUsedBlocks) / static_cast<double>(figures.mTotalBlocks);
    return {formatted("%.0f%%", std::round(100 * share))}; // A half goes up, as on the page.
}

Cell chainFaultCell(const Channel::DataChain& chain)
{
    return chain.mEnd == Channel::ChainEnd::eWhole
               ? Cell{}
               : Cell{chainEndWord(chain.mEnd) + ":" + std::to_string(chain.mNextIndex), cBadColor};
}

Cell applicationCell(const Communicator* owner)
{
    return owner == nullptr ? Cell{} : Cell{owner->mProcess.mApplication.value_or("")};
}

Cell processIdCell(const Communicator* owner)
{
    return owner == nullptr ? Cell{} : numberCell(owner->mProcessId);
}

Cell livingCell(const Communicator* owner)
{
    return owner == nullptr ? Cell{} : livingCell(owner->mProcess.mLiving);
}

Cell cellOf(const std::string& name, Words /*none*/, ListLength /*none*/)
{
    return {name};
}

Cell cellOf(const std::optional<std::string>& name, Words /*none*/, ListLength /*none*/)
{
    return {name.value_or("")};
}

Cell cellOf(const Oxa::Version& version, Words /*none*/, ListLength /*none*/)
{
    return {versionWord(version)};
}

Cell cellOf(const std::optional<std::chrono::milliseconds>& time, Words /*none*/, ListLength /*none*/)
{
    return time ? Cell{formatted("%.2f", static_cast<double>(time->count()) / 1000)} : Cell{};
}

Cell cellOf(Living living, Words /*its own*/, ListLength /*none*/)
{
    return livingCell(living);
}

Cell cellOf(Channel::SlotState state, Words /*its own*/, ListLength /*none*/)
{
    return {slotStateWord(state)};
}

Cell cellOf(const IdSet& ids, Words /*none*/, ListLength length)
{
    return listCell(ids, length, std::identity());
}

Cell cellOf(const Channel::DataChain& chain, Words /*none*/, ListLength length)
{
    return listCell(chain.mEntries, length, [](const Channel::DataEntry& entry) { return entry.mIndex; });
}

Cell cellOf(const std::optional<OxaZunic::OxaZunicRangeLocation>& location, Words /*none*/, ListLength /*none*/)
{
    return location ? Cell{std::to_string(location->mMemoryManagerIndex) + "/" + std::to_string(location->mRangeIndex)}
                    : Cell{};
}

} // namespace Inspect
