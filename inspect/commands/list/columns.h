#ifndef INSPECT_COMMANDS_LIST_COLUMNS_H
#define INSPECT_COMMANDS_LIST_COLUMNS_H

#include "inspect/live/take_state.h"
#include "inspect/view/table.h"

#include <cstdint>
#include <string>
#include <vector>

namespace Inspect {

enum class Shown : std::uint8_t
{
    eAlways, ///< unless other columns are chosen
    eOnRequest
};

/// What is to be known of a column without its rows.
struct ColumnHead
{
    const char* mName;
    const char* mMeaning;
    Kind mKind = Kind::eText;
    Shown mShown = Shown::eAlways;
    /// What of a state it takes to fill it in.
    Wanted mWanted = {};
};

template <typename Row>
struct Column
{
    ColumnHead mHead;
    Cell (*mCell)(const Row&);
};

/// The places of the columns that are named, separated by commas, in any case; "+" in front adds them to those that are
/// shown always, and nothing at all means those. Throws UsageMistake for a name that there is not.
std::vector<std::size_t> chooseColumns(const std::vector<ColumnHead>& heads, const std::string& choice);

} // namespace Inspect

#endif
