#ifndef INSPECT_COMMANDS_DIFF_H
#define INSPECT_COMMANDS_DIFF_H

#include "inspect/changes/changes.h"
#include "inspect/cli/command.h"

#include <array>
#include <string>
#include <vector>

namespace CLI {
class App;
} // namespace CLI

namespace Inspect {

/// How changes are told, and which; what diff and watch have in common.
struct ChangeOptions
{
    std::array<bool, cChangeKinds> mIsIgnored{}; ///< by ChangeKind
    bool mColors = false;
    bool mJson = false;

    bool isIgnored(const Change& change) const { return mIsIgnored.at(static_cast<std::size_t>(change.mKind)); }
};

/// --ignore, --color and --json.
void addChangeOptions(CLI::App& part, ChangeOptions& options, const char* jsonMeaning);

struct DiffOptions
{
    std::string mBefore; ///< a file, "-" for standard input
    std::string mNow;    ///< as well; empty: the channel
    std::string mChannel = "OXABus";
    ChangeOptions mChanges;
    bool mIsWhole = false; ///< as text: every change, not only the first ones of each kind
};

/// eExitNo when something differs. Throws NoChannel, NoState.
ExitStatus runDiff(const DiffOptions& options, std::ostream& out);

extern const Command cDiffCommand;

} // namespace Inspect

#endif
