#ifndef INSPECT_COMMANDS_LIST_LISTING_H
#define INSPECT_COMMANDS_LIST_LISTING_H

#include "inspect/commands/list/list.h"
#include "inspect/live/look_memory.h"
#include "inspect/saved/json_rows.h"

// One kind of list is a class with:
//   Row                      what a line is about
//   cWord                    see ListKind
//   cOne                     one of it, for a sentence
//   cColumns                 all of type Column<Row>
//   cWanted, cWantedForJson  of a state, whatever the columns are
//   rows(state, filter)      those that fit
//   key(row)                 see ListRows
//   json(row)                one of them, as in a saved state

namespace Inspect {

template <typename List>
std::vector<ColumnHead> columnHeads()
{
    std::vector<ColumnHead> heads;
    heads.reserve(std::size(List::cColumns));
    for (const auto& column : List::cColumns) {
        heads.push_back(column.mHead);
    }
    return heads;
}

template <typename List>
class ListRowsOf : public ListRows
{
public:
    explicit ListRowsOf(const BusState& state) : mRows(List::rows(state, {})) {}

    std::size_t size() const override { return mRows.size(); }
    std::uint32_t key(std::size_t row) const override { return List::key(mRows[row]); }
    Cell cell(std::size_t row, std::size_t column) const override { return List::cColumns[column].mCell(mRows[row]); }

private:
    std::vector<typename List::Row> mRows;
};

template <typename List>
std::unique_ptr<ListRows> listRows(const BusState& state)
{
    return std::make_unique<ListRowsOf<List>>(state);
}

inline Wanted both(const Wanted& one, const Wanted& other)
{
    return {one.mFunctions || other.mFunctions, one.mProcesses || other.mProcesses,
            one.mMemoryManagers || other.mMemoryManagers, one.mMessages || other.mMessages,
            one.mSlotTotals || other.mSlotTotals};
}

/// What the answer will be made of, and no more.
template <typename List>
Wanted wantedFor(const ListOptions& options, const std::vector<std::size_t>& places)
{
    const bool areProcessesAskedFor = options.mFilter.mOwner.mApplication.has_value();
    Wanted wanted = both(List::cWanted, {.mProcesses = areProcessesAskedFor});
    if (options.mJson) {
        return both(wanted, List::cWantedForJson);
    }
    for (const std::size_t place : places) {
        wanted = both(wanted, List::cColumns[place].mHead.mWanted);
    }
    return wanted;
}

template <typename List>
std::string tableOf(const std::vector<typename List::Row>& rows, const std::vector<std::size_t>& places,
                    const TableLook& look)
{
    std::vector<Heading> headings;
    headings.reserve(places.size());
    for (const std::size_t place : places) {
        headings.push_back({List::cColumns[place].mHead.mName, List::cColumns[place].mHead.mKind});
    }
    Table table(headings, look);
    for (const auto& row : rows) {
        std::vector<Cell> cells;
        cells.reserve(places.size());
        for (const std::size_t place : places) {
            cells.push_back(List::cColumns[place].mCell(row));
        }
        table.addLine(cells);
    }
    return table.text();
}

template <typename List>
void writeJson(std::ostream& out, const std::vector<typename List::Row>& rows)
{
    JsonRows array(out, cListSchema, List::cWord);
    for (const auto& row : rows) {
        array.add(List::json(row));
    }
    array.end();
}

template <typename List>
ExitStatus runListOf(const ListOptions& options, std::ostream& out)
{
    const auto places = chooseColumns(columnHeads<List>(), options.mColumns);
    const LookMemory memory;
    const BusState state = readSource(options.mSource, wantedFor<List>(options, places));
    const auto rows = List::rows(state, options.mFilter);
    if (options.mJson) {
        writeJson<List>(out, rows);
    } else if (!rows.empty()) {
        out << tableOf<List>(rows, places, options.mLook);
    }
    if (rows.empty()) {
        complain(std::string("no ") + List::cOne + " fits");
        return eExitNo;
    }
    return eExitYes;
}

template <typename List>
std::string tableOfState(const BusState& state, const InterfaceFilter& filter, const TableLook& look)
{
    const auto rows = List::rows(state, filter);
    return rows.empty() ? "" : tableOf<List>(rows, chooseColumns(columnHeads<List>(), ""), look);
}

template <typename List>
constexpr ListKind kindOf(Filters filters)
{
    return {List::cWord, filters, columnHeads<List>, runListOf<List>, listRows<List>, tableOfState<List>};
}

} // namespace Inspect

#endif
