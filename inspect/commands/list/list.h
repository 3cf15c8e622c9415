#ifndef INSPECT_COMMANDS_LIST_LIST_H
#define INSPECT_COMMANDS_LIST_LIST_H

#include "inspect/bus/interface_filter.h"
#include "inspect/cli/command.h"
#include "inspect/commands/list/columns.h"
#include "inspect/commands/source.h"
#include "inspect/view/table.h"

#include <cstdint>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

namespace Inspect {

struct ListOptions
{
    SourceOptions mSource;
    InterfaceFilter mFilter;
    std::string mColumns; ///< as chooseColumns takes them
    TableLook mLook;
    bool mJson = false;
};

/// Which part of an InterfaceFilter counts.
enum class Filters : std::uint8_t
{
    eNone,
    eOwner,
    eAll
};

/// The rows of a list; the state that they were made of has to outlive them and stay as it is.
class ListRows
{
public:
    virtual ~ListRows() = default;

    virtual std::size_t size() const = 0;
    /// What a row's first column shows. Rows are in ascending order of it, those of communicators as they come.
    virtual std::uint32_t key(std::size_t row) const = 0;
    virtual Cell cell(std::size_t row, std::size_t column) const = 0;
};

/// Something that can be listed.
struct ListKind
{
    const char* mWord; ///< on the command line, and the key in JSON
    Filters mFilters;
    std::vector<ColumnHead> (*mColumns)();
    /// eExitNo when nothing fits. Throws UsageMistake, NoChannel, NoState.
    ExitStatus (*mRun)(const ListOptions& options, std::ostream& out);
    std::unique_ptr<ListRows> (*mRows)(const BusState& state);
    /// As text, with the columns that are shown always; nothing when nothing fits.
    std::string (*mTable)(const BusState& state, const InterfaceFilter& filter, const TableLook& look);
};

extern const ListKind cInterfaceList;
extern const ListKind cCommunicatorList;
extern const ListKind cProcessList;
extern const ListKind cMemoryList;
extern const ListKind cMessageList;

extern const Command cListCommand;

} // namespace Inspect

#endif
