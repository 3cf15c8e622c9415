#ifndef INSPECT_COMMANDS_TOP_TABLE_VIEW_H
#define INSPECT_COMMANDS_TOP_TABLE_VIEW_H

#include "inspect/commands/list/lists.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Inspect {

/// What is shown of a list that is looked at again and again: sorted, filtered, with one line chosen, which stays
/// chosen wherever it goes.
class TableView
{
public:
    struct ShownCell
    {
        std::string mText; ///< printable
        const char* mColor = nullptr;
        bool mHasChanged = false; ///< since the look before
    };

    struct Line
    {
        std::vector<ShownCell> mCells; ///< as many as there are columns
        bool mIsChosen = false;
    };

    explicit TableView(const ListKind& kind);

    const ListKind& kind() const { return mKind; }
    /// Those that `list` shows always.
    const std::vector<Column>& columns() const { return mColumns; }

    /// Shows another state, marked against the one before, which may be null. Both have to stay as they are until the
    /// next call.
    void show(const BusState& now, const BusState* before);
    /// Shows nothing.
    void clear();

    std::size_t sortColumn() const { return mSortColumn; }
    bool isReversed() const { return mIsReversed; }
    /// Of several lines with the same in the column, the order is that of `list`.
    void sortBy(std::size_t column);
    void reverse();

    /// Only lines are shown that have this in one of their cells; small letters are no others than large ones.
    void filterBy(const std::string& text);
    const std::string& filter() const { return mFilter; }

    /// Chooses the line so many below the chosen one, or above it, as far as there are lines.
    void move(std::ptrdiff_t lines);

    std::size_t size() const { return mOrder.size(); }
    /// Position of the chosen line; 0 when there is none.
    std::size_t position() const { return mPosition; }
    /// The key of the chosen line: see ListRow. None when nothing is shown.
    std::optional<std::uint32_t> chosen() const;
    /// Each column of the chosen line, also those that are not shown; none when nothing is shown.
    std::vector<std::pair<Column, Cell>> chosenCells() const;

    /// The lines from `first` on, `count` at most.
    std::vector<Line> lines(std::size_t first, std::size_t count) const;

private:
    /// A row of a look: its key, and how many of the same key come before it. On a damaged bus there may be some.
    struct Identity
    {
        std::uint32_t mKey = 0;
        std::size_t mOccurrence = 0;
        bool operator==(const Identity& other) const = default;
    };

    struct Rows
    {
        std::unique_ptr<BusIndex> mIndex; ///< null: there is no state
        std::vector<ListRow> mRows;       ///< by their keys

        Identity identityOf(std::size_t row) const;
        std::optional<std::size_t> rowOf(const Identity& identity) const;
    };

    static Rows rowsOf(const ListKind& kind, const BusState* state);

    void arrange();
    bool passesFilter(std::size_t row) const;
    void sort();
    void choose(std::size_t position);
    Line lineOf(std::size_t row) const;

    const ListKind& mKind;
    std::vector<std::size_t> mPlaces; ///< of the columns that are shown, among all
    std::vector<Column> mColumns;
    const BusState* mShown = nullptr; ///< what mNow was made of
    Rows mNow;
    Rows mBefore;
    std::vector<std::size_t> mOrder; ///< rows, as they are shown
    std::size_t mSortColumn = 0;
    bool mIsReversed = false;
    std::string mFilter;
    std::size_t mPosition = 0;
    std::optional<Identity> mChosen;
};

} // namespace Inspect

#endif
