#ifndef INSPECT_COMMANDS_METRICS_METRICS_H
#define INSPECT_COMMANDS_METRICS_METRICS_H

#include "inspect/cli/command.h"
#include "inspect/commands/source.h"

#include <chrono>
#include <ostream>
#include <string>

namespace Inspect {

struct MetricsOptions
{
    LookSource mSource;
    std::string mOutput = "-"; ///< a file; "-": standard output
};

/// Writes the figures of a bus for Prometheus. Where the bus cannot be read, they say so before NoChannel is thrown.
ExitStatus runMetrics(const MetricsOptions& options, std::ostream& out);

/// The figures of a bus; `before` is an earlier look, or null.
void writeMetrics(std::ostream& out, const BusState& now, const BusState* before);

/// That there was no bus to be read at that time.
void writeNoBus(std::ostream& out, const std::string& channel, WallTime time);

extern const Command cMetricsCommand;

} // namespace Inspect

#endif
