#ifndef INSPECT_CLI_COMMAND_H
#define INSPECT_CLI_COMMAND_H

#include "inspect/exit_status.h"

#include <functional>
#include <ostream>
#include <string>

namespace CLI {
class App;
} // namespace CLI

namespace Inspect {

/// A command line that cannot be understood; `what` is one line.
class UsageMistake : public Failure
{
public:
    explicit UsageMistake(const std::string& why) : Failure(eExitFailed, why) {}
};

/// Does what the command line asks for, once it has been read; the answer goes to the stream.
using Run = std::function<ExitStatus(std::ostream&)>;

/// One of the program's commands.
struct Command
{
    const char* mName;
    const char* mSummary;          ///< one line
    const char* mExamples;         ///< lines that end with \n
    Run (*mAddOptions)(CLI::App&); ///< adds the options of the command to its part of the command line
};

/// Says something on standard error, in one line.
void complain(const std::string& text);

/// Adds a name to those that stand there already, for a complaint.
void appendQuoted(std::string& names, const std::string& name);

} // namespace Inspect

#endif
