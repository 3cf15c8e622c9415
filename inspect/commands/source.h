#ifndef INSPECT_COMMANDS_SOURCE_H
#define INSPECT_COMMANDS_SOURCE_H

#include "inspect/live/take_state.h"

#include <chrono>
#include <string>
#include <vector>

namespace Inspect {

/// Where a state comes from.
struct SourceOptions
{
    std::string mChannel = "OXABus";
    std::string mFrom; ///< a file with a saved state, "-" for standard input; empty: the channel
};

/// Throws NoChannel or NoState.
BusState readSource(const SourceOptions& source, const Wanted& wanted);

/// Where one look at a bus, or two of them, come from: what shows only over time needs two.
struct LookSource
{
    std::string mChannel = "OXABus";
    std::vector<std::string> mFrom;         ///< one or two saved states, the older one first; none: the channel
    std::chrono::milliseconds mAgain{2000}; ///< from the first look at the channel to the second; 0: one look only
};

/// One or two states, the older one first. Throws NoChannel or NoState.
std::vector<BusState> takeLooks(const LookSource& source);

} // namespace Inspect

#endif
