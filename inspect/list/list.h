#ifndef INSPECT_LIST_LIST_H
#define INSPECT_LIST_LIST_H

#include "inspect/command_line/command.h"
#include "inspect/filter/interface_filter.h"
#include "inspect/list/columns.h"
#include "inspect/source/source.h"
#include "inspect/table/table.h"

#include <cstdint>
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

/// Something that can be listed.
struct ListKind
{
    const char* mWord; ///< on the command line, and the key in JSON
    Filters mFilters;
    std::vector<ColumnHead> (*mColumns)();
    /// eExitNo when nothing fits. Throws UsageMistake, NoChannel, NoState.
    ExitStatus (*mRun)(const ListOptions& options, std::ostream& out);
};

extern const ListKind cInterfaceList;
extern const ListKind cCommunicatorList;
extern const ListKind cProcessList;
extern const ListKind cMemoryList;
extern const ListKind cMessageList;

extern const Command cListCommand;

} // namespace Inspect

#endif
