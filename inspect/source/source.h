#ifndef INSPECT_SOURCE_SOURCE_H
#define INSPECT_SOURCE_SOURCE_H

#include "inspect/state/take_state.h"

#include <string>

namespace Inspect {

/// Where a state comes from.
struct SourceOptions
{
    std::string mChannel = "OXABus";
    std::string mFrom; ///< a file with a saved state, "-" for standard input; empty: the channel
};

/// Throws NoChannel or NoState.
BusState readSource(const SourceOptions& source, const Wanted& wanted);

} // namespace Inspect

#endif
