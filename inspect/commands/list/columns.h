#ifndef INSPECT_COMMANDS_LIST_COLUMNS_H
#define INSPECT_COMMANDS_LIST_COLUMNS_H

#include "inspect/live/take_state.h"
#include "inspect/view/cells.h"

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

namespace Inspect {

struct ListRow;

enum class Shown : std::uint8_t
{
    eAlways, ///< unless other columns are chosen
    eOnRequest
};

/// One column of a list.
struct Column
{
    const char* mName;
    const char* mMeaning;
    ColumnKind mKind;
    std::function<Cell(const ListRow& row, ListLength length)> mCell;
    Shown mShown = Shown::eAlways;
    Wanted mWanted = {}; ///< what of a state it takes to fill it in
};

/// A column whose cells are never shortened.
inline Column column(const char* name, const char* meaning, ColumnKind kind, Cell (*cell)(const ListRow& row),
                     Shown shown = Shown::eAlways, Wanted wanted = {})
{
    return {name, meaning, kind, [cell](const ListRow& row, ListLength /*none*/) { return cell(row); }, shown, wanted};
}

/// The places of the columns that are named, separated by commas, in any case; "+" in front adds them to those that are
/// shown always, and nothing at all means those. Throws UsageMistake for an unknown name.
std::vector<std::size_t> chooseColumns(std::span<const Column> columns, const std::string& choice);

} // namespace Inspect

#endif
