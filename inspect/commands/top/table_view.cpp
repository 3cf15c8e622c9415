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

SortKey sortKey(Cell cell, Kind kind)
{
    if (kind != Kind::eNumber) {
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
    const auto first = std::ranges::lower_bound(mKeys, mKeys[row]) - mKeys.begin();
    return {mKeys[row], row - static_cast<std::size_t>(first)};
}

std::optional<std::size_t> TableView::Rows::rowOf(const Identity& identity) const
{
    const auto first = std::ranges::lower_bound(mKeys, identity.mKey) - mKeys.begin();
    const std::size_t row = static_cast<std::size_t>(first) + identity.mOccurrence;
    return row < mKeys.size() && mKeys[row] == identity.mKey ? std::optional(row) : std::nullopt;
}

TableView::Rows TableView::rowsOf(const ListKind& kind, const BusState* state)
{
    Rows rows;
    if (state != nullptr) {
        rows.mRows = kind.mRows(*state);
        rows.mKeys.reserve(rows.mRows->size());
        for (std::size_t row = 0; row < rows.mRows->size(); ++row) {
            rows.mKeys.push_back(rows.mRows->key(row));
        }
    }
    return rows;
}

TableView::TableView(const ListKind& kind)
    : mKind(kind), mAllColumns(kind.mColumns()), mPlaces(chooseColumns(mAllColumns, ""))
{
    for (const std::size_t place : mPlaces) {
        mColumns.push_back(mAllColumns[place]);
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
    mOrder.resize(mNow.mKeys.size());
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
    return std::ranges::any_of(
        mPlaces, [&](std::size_t place) { return contains(shownText(mNow.mRows->cell(row, place)), mFilter); });
}

void TableView::sort()
{
    if (mSortColumn > 0) { // Else they are sorted already.
        std::vector<SortKey> keys(mNow.mKeys.size());
        for (const std::size_t row : mOrder) {
            keys[row] = sortKey(mNow.mRows->cell(row, mPlaces[mSortColumn]), mColumns[mSortColumn].mKind);
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

std::vector<std::pair<ColumnHead, Cell>> TableView::chosenCells() const
{
    std::vector<std::pair<ColumnHead, Cell>> cells;
    for (std::size_t column = 0; column < mAllColumns.size() && !mOrder.empty(); ++column) {
        cells.emplace_back(mAllColumns[column], mNow.mRows->cell(mOrder[mPosition], column));
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
    for (const std::size_t place : mPlaces) {
        const Cell cell = mNow.mRows->cell(row, place);
        const bool isSame = rowBefore && mBefore.mRows->cell(*rowBefore, place).mBytes == cell.mBytes;
        line.mCells.push_back({shownText(cell), cell.mColor, mBefore.mRows != nullptr && !isSame});
    }
    return line;
}

} // namespace Inspect
