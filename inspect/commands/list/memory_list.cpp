#include "inspect/commands/list/listing.h"
#include "inspect/view/cells.h"

#include <array>
#include <cstdio>

namespace Inspect {

namespace {

struct MemoryList
{
    struct Row
    {
        std::size_t mIndex;
        const Channel::MemoryManagerFigures& mFigures;
    };

    static constexpr auto cWord = "memory";
    static constexpr auto cOne = "memory manager";
    static constexpr Wanted cWanted{.mMemoryManagers = true};
    static constexpr Wanted cWantedForJson{};
    static const std::vector<Column<Row>> cColumns;

    static std::vector<Row> rows(const BusState& state, const InterfaceFilter&)
    {
        std::vector<Row> rows;
        for (const auto& figures : state.mMemoryManagers) {
            rows.push_back({rows.size(), figures});
        }
        return rows;
    }

    static std::uint32_t key(const Row& row) { return static_cast<std::uint32_t>(row.mIndex); }
    static Json json(const Row& row) { return toJson(row.mFigures); }
};

using Row = MemoryList::Row;

/// Damaged figures may tell of more used blocks than there are.
std::uint64_t freeBlocks(const Channel::MemoryManagerFigures& figures)
{
    return figures.mTotalBlocks < figures.mUsedBlocks ? 0 : figures.mTotalBlocks - figures.mUsedBlocks;
}

Cell freeCell(const Row& row)
{
    const std::uint64_t blocks = freeBlocks(row.mFigures);
    return {std::to_string(blocks), blocks == 0 ? cBadColor : nullptr};
}

Cell shareCell(const Row& row)
{
    if (row.mFigures.mTotalBlocks == 0) {
        return {};
    }
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.0f%%",
                  100.0 * static_cast<double>(row.mFigures.mUsedBlocks) /
                      static_cast<double>(row.mFigures.mTotalBlocks));
    return {text.data()};
}

const std::vector<Column<Row>> MemoryList::cColumns{
    {{"MANAGER", "index of the memory manager", Kind::eNumber}, [](const Row& row) { return numberCell(row.mIndex); }},
    {{"BLOCKSIZE", "size of a block in bytes", Kind::eNumber},
     [](const Row& row) { return numberCell(row.mFigures.mBlockSize); }},
    {{"INITIAL", "blocks in the beginning", Kind::eNumber},
     [](const Row& row) { return numberCell(row.mFigures.mInitialBlocks); }},
    {{"ADDITIONAL", "blocks that each enlargement adds", Kind::eNumber},
     [](const Row& row) { return numberCell(row.mFigures.mAdditionalBlocks); }},
    {{"TOTAL", "blocks now", Kind::eNumber}, [](const Row& row) { return numberCell(row.mFigures.mTotalBlocks); }},
    {{"USED", "blocks in use", Kind::eNumber}, [](const Row& row) { return numberCell(row.mFigures.mUsedBlocks); }},
    {{"FREE", "blocks not in use", Kind::eNumber}, freeCell},
    {{"USE%", "share in use", Kind::eNumber}, shareCell},
};

} // namespace

const ListKind cMemoryList = kindOf<MemoryList>(Filters::eNone);

} // namespace Inspect
