#include "inspect/commands/top/table_view.h"

#include <algorithm>
#include <charconv>
#include <compare>
#include <cstring>
#include <numeric>

namespace Inspect {

namespace {

/// What a row is sorted by.
struct SortKey
{
    double mNumber = 0; ///< of a column of numbers; what is none comes before them
    std::string mText;  ///< of another

    auto operator<=>(const SortKey& other) const = default;
};

SortKey sortKey(Cell cell, ColumnKind kind)
{
    if (kind != ColumnKind::eNumber) {
        return {0, std::move(cell.mBytes)};
    }
    SortKey key{-1, {}};
    std::from_chars(cell.mBytes.data(), cell.mBytes.data() + cell.mBytes.size(), key.mNumber);
    return key;
}

bool contains(const std::string& text, const std::string& part)
{
    return strcasestr(text.c_str(), part.c_str()) != nullptr;
}

} // namespace

TableView::Identity TableView::Rows::identityOf(std::size_t row) const
{
    const std::uint32_t key = mRows[row].mKey;
    const auto first = std::ranges::lower_bound(mRows, key, {}, &ListRow::mKey) - mRows.begin();
    return {key, row - static_cast<std::size_t>(first)};
}

std::optional<std::size_t> TableView::Rows::rowOf(const Identity& identity) const
{
    const auto first = std::ranges::lower_bound(mRows, identity.mKey, {}, &ListRow::mKey) - mRows.begin();
    const std::size_t row = static_cast<std::size_t>(first) + identity.mOccurrence;
    return row < mRows.size() && mRows[row].mKey == identity.mKey ? std::optional(row) : std::nullopt;
}

TableView::Rows TableView::rowsOf(const ListKind& kind, const BusState* state)
{
    Rows rows;
    if (state != nullptr) {
        rows.mIndex = std::make_unique<BusIndex>(*state);
        rows.mRows = kind.mRows(*rows.mIndex, {});
    }
    return rows;
}

TableView::TableView(const ListKind& kind) : mKind(kind), mPlaces(chooseColumns(kind.mColumns, ""))
{
    for (const std::size_t place : mPlaces) {
        mColumns.push_back(mKind.mColumns[place]);
    }
}

void TableView::show(const BusState& now, const BusState* before)
{
    mBefore = before != nullptr && before == mShown ? std::move(mNow) : rowsOf(mKind, before);
    mNow = rowsOf(mKind, &now);
    mShown = &now;
    arrange();
}

void TableView::clear()
{
    mNow = {};
    mBefore = {};
    mShown = nullptr;
    arrange();
}

void TableView::sortBy(std::size_t column)
{
    mSortColumn = column;
    arrange();
}

void TableView::reverse()
{
    mIsReversed = !mIsReversed;
    arrange();
}

void TableView::filterBy(const std::string& text)
{
    mFilter = text;
    arrange();
}

/// The line that was chosen stays so; when it has gone, the one that took its place is.
void TableView::arrange()
{
    mOrder.resize(mNow.mRows.size());
    std::iota(mOrder.begin(), mOrder.end(), std::size_t{0});
    if (!mFilter.empty()) {
        std::erase_if(mOrder, [&](std::size_t row) { return !passesFilter(row); });
    }
    sort();
    const auto row = mChosen ? mNow.rowOf(*mChosen) : std::nullopt;
    const auto place = row ? std::ranges::find(mOrder, *row) : mOrder.end();
    if (place != mOrder.end()) {
        mPosition = static_cast<std::size_t>(place - mOrder.begin());
    } else if (!mOrder.empty()) {
        choose(mPosition);
    }
}

bool TableView::passesFilter(std::size_t row) const
{
    return std::ranges::any_of(mPlaces, [&](std::size_t place) {
        return contains(shownText(mKind.mColumns[place].mCell(mNow.mRows[row], ListLength::eShort)), mFilter);
    });
}

void TableView::sort()
{
    if (mSortColumn > 0) { // Else they are sorted already.
        std::vector<SortKey> keys(mNow.mRows.size());
        for (const std::size_t row : mOrder) {
            keys[row] =
                sortKey(mColumns[mSortColumn].mCell(mNow.mRows[row], ListLength::eShort), mColumns[mSortColumn].mKind);
        }
        std::ranges::stable_sort(mOrder, {}, [&](std::size_t row) -> const SortKey& { return keys[row]; });
    }
    if (mIsReversed) {
        std::ranges::reverse(mOrder);
    }
}

void TableView::choose(std::size_t position)
{
    mPosition = std::min(position, mOrder.size() - 1);
    mChosen = mNow.identityOf(mOrder[mPosition]);
}

void TableView::move(std::ptrdiff_t lines)
{
    if (!mOrder.empty()) {
        const auto last = static_cast<std::ptrdiff_t>(mOrder.size()) - 1;
        const auto position = static_cast<std::ptrdiff_t>(mPosition);
        choose(static_cast<std::size_t>(position + std::clamp(lines, -position, last - position)));
    }
}

std::optional<std::uint32_t> TableView::chosen() const
{
    return mOrder.empty() ? std::nullopt : std::optional(mChosen->mKey);
}

std::vector<std::pair<Column, Cell>> TableView::chosenCells() const
{
    std::vector<std::pair<Column, Cell>> cells;
    if (!mOrder.empty()) {
        for (const Column& column : mKind.mColumns) {
            cells.emplace_back(column, column.mCell(mNow.mRows[mOrder[mPosition]], ListLength::eWhole));
        }
    }
    return cells;
}

std::vector<TableView::Line> TableView::lines(std::size_t first, std::size_t count) const
{
    std::vector<Line> lines;
    for (std::size_t position = first; position < mOrder.size() && lines.size() < count; ++position) {
        lines.push_back(lineOf(mOrder[position]));
        lines.back().mIsChosen = position == mPosition;
    }
    return lines;
}

TableView::Line TableView::lineOf(std::size_t row) const
{
    const auto rowBefore = mBefore.rowOf(mNow.identityOf(row));
    Line line;
    for (const Column& column : mColumns) {
        const Cell cell = column.mCell(mNow.mRows[row], ListLength::eShort);
        const bool isSame =
            rowBefore && column.mCell(mBefore.mRows[*rowBefore], ListLength::eShort).mBytes == cell.mBytes;
        line.mCells.push_back({shownText(cell), cell.mColor, mBefore.mIndex != nullptr && !isSame});
    }
    return line;
}

} // namespace Inspect
