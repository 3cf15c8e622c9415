#ifndef INSPECT_COMMANDS_SHARED_OPTIONS_H
#define INSPECT_COMMANDS_SHARED_OPTIONS_H

#include "inspect/bus/interface_filter.h"
#include "inspect/cli/options.h"
#include "inspect/commands/source.h"
#include "inspect/findings/finding.h"
#include "inspect/view/table.h"

// Options of several commands that choose what they show of a bus. What they are bound to has to live as long as the
// part of the command line.

namespace Inspect {

/// -c, --channel and --from.
void addSourceOptions(CLI::App& part, SourceOptions& source);

/// -c, --channel, --from, which may be given twice, and --again.
void addLookSourceOptions(CLI::App& part, LookSource& source);

/// --role, --domain, --app, --type, --state and --pid; --name is left to those who take no names otherwise.
void addFilterOptions(CLI::App& part, InterfaceFilter& filter);

/// --noheadings and --color; call it once for a command.
void addStyleOptions(CLI::App& part, TableStyle& style);

/// The kind of finding with the code that the option was given. Throws UsageMistake.
const FindingKind& readFindingKind(const char* option, const std::string& code);

} // namespace Inspect

#endif
