#ifndef INSPECT_SHOW_SHOW_H
#define INSPECT_SHOW_SHOW_H

#include "inspect/command_line/command.h"
#include "inspect/source/source.h"
#include "inspect/table/table.h"

#include <ostream>
#include <string>
#include <vector>

namespace Inspect {

struct ShowOptions
{
    SourceOptions mSource;
    std::vector<std::string> mWords; ///< names of interfaces, as they are, or ids
    TableLook mLook;
    bool mJson = false;
};

/// Shows each interface that one of the words fits. eExitNo when there is a word that fits none. Throws NoChannel,
/// NoState.
ExitStatus runShow(const ShowOptions& options, std::ostream& out);

extern const Command cShowCommand;

} // namespace Inspect

#endif
