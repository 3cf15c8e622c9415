#ifndef OXA_COMMAND_LINE_GETOPT_WORDS_H
#define OXA_COMMAND_LINE_GETOPT_WORDS_H

#include <CLI/CLI.hpp>

#include <stdexcept>
#include <string>
#include <vector>

/// A command line that cannot be read; `what` says why and names the offending word as it was given.
class CommandLineError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// Stands in front of each positional word, see `getoptWords`.
inline constexpr char cPositionalMark = '=';

/// Reads `words` by the rules of getopt_long and gives them back in the one spelling that CLI11 reads the same way:
/// each option by its long name in a word of its own, its value in the next word, and the positional words last,
/// after `--`. CLI11 takes a positional word apart when it looks like a list (`[a,b]`), so each carries a
/// `cPositionalMark` in front.
///
/// Whatever follows a help option is left out, as a program that acts on its options one by one never gets there.
/// Throws CommandLineError at the first word that cannot be read.
std::vector<std::string> getoptWords(const CLI::App& app, const std::vector<std::string>& words);

#endif
