#ifndef INSPECT_CLI_OPTIONS_H
#define INSPECT_CLI_OPTIONS_H

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

// Options that several commands share. What they are bound to has to live as long as the part of the command line.

namespace Inspect {

/// What is asked about: one or more words, whatever bytes they are made of. `names` is how --help shows them.
void addWords(CLI::App& part, std::vector<std::string>& words, const char* names, const char* meaning);

/// -c and --channel.
CLI::Option* addChannelOption(CLI::App& part, std::string& channel);

/// What is wrong with the name of a file: it may not be empty. For CLI::Option::check.
std::string complaintAboutFile(const std::string& file);

/// --color, with what it means now in `areWanted`; call it once for a command.
void addColorOption(CLI::App& part, bool& areWanted);

} // namespace Inspect

#endif
