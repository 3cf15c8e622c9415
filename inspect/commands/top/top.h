#ifndef INSPECT_COMMANDS_TOP_TOP_H
#define INSPECT_COMMANDS_TOP_TOP_H

#include "inspect/cli/command.h"

#include <chrono>
#include <string>

namespace Inspect {

struct TopOptions
{
    std::string mChannel = "OXABus";
    std::chrono::milliseconds mInterval = std::chrono::seconds(1);
    bool mHasColors = false;
};

/// Follows the channel on the whole terminal until its user, or a signal, ends it. Throws std::runtime_error when the
/// terminal is none that can do this.
ExitStatus runTop(const TopOptions& options);

/// From --interval, or typed. Throws UsageMistake.
std::chrono::milliseconds readInterval(const char* option, const std::string& text);

extern const Command cTopCommand;

} // namespace Inspect

#endif
