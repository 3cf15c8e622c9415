#include "inspect/commands/traffic/traffic_report.h"

#include <algorithm>

namespace Inspect {

std::vector<TrafficRow> trafficRows(const Traffic& traffic, By by, const InterfaceFilter& filter)
{
    const Tally& tally = traffic.mTally;
    const Tally::Rows& all = by == By::eSender     ? tally.senders()
                             : by == By::eReceiver ? tally.receivers()
                                                   : tally.pairs();
    std::vector<TrafficRow> rows;
    for (const auto& [route, figures] : all) {
        const std::uint16_t id = by == By::eReceiver ? route.mReceiverId : route.mSenderId;
        // All messages of some rows were there before the first sample, and have left.
        if ((figures.mMessages > 0 || figures.mStill > 0) && traffic.mParties.fits(id, filter)) {
            rows.emplace_back(route, &figures);
        }
    }
    std::ranges::sort(rows, [](const TrafficRow& one, const TrafficRow& other) {
        return std::tuple(other.second->mMessages, one.first) < std::tuple(one.second->mMessages, other.first);
    });
    return rows;
}

} // namespace Inspect
