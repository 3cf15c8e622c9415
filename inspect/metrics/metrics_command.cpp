#include "inspect/command_line/options.h"
#include "inspect/metrics/metrics.h"

#include <memory>

namespace Inspect {

namespace {

Run addMetricsOptions(CLI::App& part)
{
    const auto options = std::make_shared<MetricsOptions>();
    addLookSourceOptions(part, options->mSource);
    part.add_option("--output", options->mOutput, "Write this file, for everyone to read, instead of standard output")
        ->type_name("FILE")
        ->check(complaintAboutFile, "");
    part.footer("The file is replaced in one move when all of it is written. When the channel cannot be read, it says\n"
                "zunic_up 0, and the exit status is 4. Findings that show only over time need the second look.");
    return [options](std::ostream& out) { return runMetrics(*options, out); };
}

} // namespace

const Command cMetricsCommand{
    "metrics", "Tell the figures of a bus to Prometheus, as OpenMetrics text",
    "  zunic_inspect metrics                           two looks, two seconds apart\n"
    "  zunic_inspect metrics --again 0                 one look, without what shows only over time\n"
    "  zunic_inspect metrics --output /var/lib/prometheus/node-exporter/zunic.prom\n"
    "                                                  for the node exporter: every minute, by cron\n",
    addMetricsOptions};

} // namespace Inspect
