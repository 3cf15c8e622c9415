#ifndef INSPECT_COMMANDS_SHOW_H
#define INSPECT_COMMANDS_SHOW_H

#include "inspect/cli/command.h"
#include "inspect/commands/source.h"
#include "inspect/view/table.h"

#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace Inspect {

struct ShowOptions
{
    SourceOptions mSource;
    std::vector<std::string> mWords;      ///< names of interfaces, as they are, or ids
    std::optional<std::uint32_t> mMemory; ///< index of a memory manager, instead of interfaces
    TableStyle mStyle;
    bool mJson = false;
};

/// Shows each interface that one of the words fits, or who holds the blocks of the memory manager. eExitNo when there
/// is a word that fits none, or no such memory manager. Throws NoChannel, NoState.
ExitStatus runShow(const ShowOptions& options, std::ostream& out);

extern const Command cShowCommand;

} // namespace Inspect

#endif
