#ifndef INSPECT_COMMANDS_LIST_LISTS_H
#define INSPECT_COMMANDS_LIST_LISTS_H

#include "inspect/bus/bus_index.h"
#include "inspect/bus/interface_filter.h"
#include "inspect/commands/list/columns.h"
#include "inspect/saved/record_json.h"

#include <cstdint>
#include <functional>
#include <ostream>
#include <span>
#include <string>
#include <tuple>
#include <vector>

namespace Inspect {

struct Figures;
class Tally;

/// What a row is about; what its list does not have is null.
struct ListRow
{
    template <typename Record>
    const Record* record() const
    {
        return std::get<const Record*>(mRecords);
    }

    std::uint32_t mKey = 0;           ///< what its first column shows
    const BusIndex* mIndex = nullptr; ///< of the state that it is of
    /// Of a slot: its sender, too. Of an interface: its owner and that one's process, too.
    std::tuple<const Interface*, const Communicator*, const Process*, const BusProcess*,
               const Channel::MemoryManagerFigures*, const Slot*>
        mRecords{};
    std::size_t mInterfaces = 0; ///< of a communicator: how many name it
    // Of a sender.
    const Figures* mFigures = nullptr;
    const Tally* mTally = nullptr;
};

/// Which part of an InterfaceFilter counts.
enum class Filters : std::uint8_t
{
    eNone,
    eOwner,
    eAll,
    eMessages ///< none of it, but a MessageFilter
};

/// Something that can be listed.
struct ListKind
{
    const char* mWord; ///< on the command line, and the key in JSON
    const char* mOne;  ///< one of it, for a sentence
    Filters mFilters;
    Wanted mWanted;        ///< of a state, whatever the columns are
    Wanted mWantedForJson; ///< on top of it
    std::span<const Column> mColumns;
    /// Those that fit, in ascending order of their keys, those of communicators as they come. The index has to outlive
    /// them.
    std::function<std::vector<ListRow>(const BusIndex& index, const InterfaceFilter& filter)> mRows;
    Json (*mJson)(const ListRow& row);
};

extern const ListKind cInterfaceList;
extern const ListKind cCommunicatorList;
extern const ListKind cProcessList;
extern const ListKind cMemoryList;
extern const ListKind cMessageList;

/// Writes a table of the columns at these places. In a whole one, columns are aligned up to the first one of lists: one
/// long list would widen every line.
void writeTable(std::ostream& out, const ListKind& kind, const std::vector<ListRow>& rows,
                const std::vector<std::size_t>& places, const TableStyle& style);
/// As text, with the columns that are shown always; nothing when nothing fits.
std::string listTable(const ListKind& kind, const BusIndex& index, const InterfaceFilter& filter);

} // namespace Inspect

#endif
