#ifndef INSPECT_COMMANDS_TOP_TRAFFIC_TABLE_H
#define INSPECT_COMMANDS_TOP_TRAFFIC_TABLE_H

#include "inspect/commands/list/lists.h"
#include "inspect/commands/traffic/sampling.h"

#include <optional>
#include <string>

namespace Inspect {

/// The senders of a bus, sampled as long as their table is shown.
class TrafficTable
{
public:
    explicit TrafficTable(std::string channel);

    TrafficTable(const TrafficTable&) = delete;
    TrafficTable& operator=(const TrafficTable&) = delete;

    const ListKind& kind() const { return mKind; }

    /// To be called after each look that found a usable channel: begins to sample, or attaches again.
    void look();
    void sample() { mSampling->sample(); }
    /// Forgets all.
    void stop() { mSampling.reset(); }

    /// When a sample is due; none while there are no samples to be taken.
    std::optional<Sample::Time> next() const { return mSampling ? std::optional(mSampling->next()) : std::nullopt; }

private:
    std::vector<ListRow> rows(const BusIndex& index) const;

    std::string mChannel;
    std::optional<Sampling> mSampling;
    ListKind mKind;
};

} // namespace Inspect

#endif
