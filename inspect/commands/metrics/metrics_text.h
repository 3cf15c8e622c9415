#ifndef INSPECT_COMMANDS_METRICS_METRICS_TEXT_H
#define INSPECT_COMMANDS_METRICS_METRICS_TEXT_H

#include <chrono>
#include <initializer_list>
#include <ostream>
#include <string>

namespace Inspect {

struct Label
{
    const char* mName;
    std::string mValue; ///< any bytes; what is no UTF-8 in them is replaced by U+FFFD
};

/// Writes figures as OpenMetrics text that is Prometheus' older text format as well: all are gauges, and none has a
/// time of its own. Each has the channel as its first label.
class MetricsText
{
public:
    MetricsText(std::ostream& out, const std::string& channel);

    /// Begins a metric; `help` is one line without quotes and backslashes.
    void begin(const char* name, const char* help);

    /// Adds a figure to it, with labels that none of the others has.
    void add(double value, std::initializer_list<Label> labels = {});
    void add(std::chrono::duration<double> value) { add(value.count()); }

    /// To be called once, at the end.
    void end() { mOut << "# EOF\n"; }

private:
    std::ostream& mOut;
    std::string mChannelLabel;
    const char* mName = nullptr;
};

} // namespace Inspect

#endif
