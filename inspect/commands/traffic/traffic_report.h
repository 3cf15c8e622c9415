#ifndef INSPECT_COMMANDS_TRAFFIC_TRAFFIC_REPORT_H
#define INSPECT_COMMANDS_TRAFFIC_TRAFFIC_REPORT_H

#include "inspect/commands/traffic/parties.h"
#include "inspect/commands/traffic/tally.h"
#include "inspect/view/table.h"

#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

namespace Inspect {

constexpr auto cTrafficSchema = "zunic-bus-traffic/1"; ///< described in docs/bus_traffic.schema.json

/// What each row is about.
enum class By : std::uint8_t
{
    eSender,
    eReceiver,
    ePair
};

/// The messages of a bus in some time.
struct Traffic
{
    std::string mChannel;
    std::string mHost;
    WallTime mTakenAt; ///< when the first sample was taken
    Parties mParties;
    Tally mTally;
    bool mIsGone = false; ///< there was no usable channel at the last look
};

using TrafficRow = std::pair<Route, const Figures*>;

/// Those that fit, most messages first. The filter is about the receiver when rows are, else about the sender.
std::vector<TrafficRow> trafficRows(const Traffic& traffic, By by, const InterfaceFilter& filter);

/// A table and a summary of all traffic, whatever the filter is.
void writeTrafficText(std::ostream& out, const Traffic& traffic, By by, const InterfaceFilter& filter,
                      const TableStyle& style);

/// The rows of each kind.
void writeTrafficJson(std::ostream& out, const Traffic& traffic, const InterfaceFilter& filter);

} // namespace Inspect

#endif
