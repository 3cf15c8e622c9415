#include "inspect/commands/top/traffic_table.h"

#include "inspect/commands/traffic/figure_cells.h"
#include "inspect/view/cells.h"

#include <algorithm>
#include <utility>

namespace Inspect {

namespace {

using std::chrono::milliseconds;

Cell stayCell(const ListRow& row, std::chrono::microseconds time)
{
    return stayCell(row.mFigures->mStays, time, row.mTally->interval());
}

Column number(const char* name, const char* meaning, Cell (*cell)(const ListRow&))
{
    return column(name, meaning, ColumnKind::eNumber, cell);
}

const std::vector<Column> cTrafficColumns{
    number("SENDER", "id of the sending interface", [](const ListRow& row) { return numberCell(row.mKey); }),
    column("NAME", "its name", ColumnKind::eText,
           [](const ListRow& row) {
               const auto* const interface = row.record<Interface>();
               return interface == nullptr ? Cell{} : Cell{interface->mName};
           }),
    number("PID", "id of its process", [](const ListRow& row) { return processIdCell(row.record<Communicator>()); }),
    column("APP", "application of its process", ColumnKind::eText,
           [](const ListRow& row) { return applicationCell(row.record<Communicator>()); }),
    number("MSG/S", "messages seen per second",
           [](const ListRow& row) { return rateCell(row.mFigures->mMessages, *row.mTally); }),
    number("B/S", "their user data sizes per second",
           [](const ListRow& row) { return sizeCell(row.mFigures->mUserDataSize, *row.mTally); }),
    number("TO", "interfaces that they address",
           [](const ListRow& row) { return numberCell(row.mFigures->mOthers.count()); }),
    number("STAYS", "median time that they stay",
           [](const ListRow& row) { return stayCell(row, row.mFigures->mStays.quantile(0.5)); }),
    number("P99", "99th percentile of that",
           [](const ListRow& row) { return stayCell(row, row.mFigures->mStays.quantile(0.99)); }),
    number("MAX", "longest time", [](const ListRow& row) { return stayCell(row, row.mFigures->mStays.longest()); }),
    number("STILL", "messages that are there now", [](const ListRow& row) { return numberCell(row.mFigures->mStill); }),
};

} // namespace

TrafficTable::TrafficTable(std::string channel)
    : mChannel(std::move(channel)),
      mKind{"traffic",
            "sender",
            Filters::eNone,
            {},
            {},
            cTrafficColumns,
            [this](const BusIndex& index, const InterfaceFilter&) { return rows(index); },
            nullptr}
{}

void TrafficTable::look()
{
    try {
        mSampling ? mSampling->attachAgain() : void(mSampling.emplace(mChannel, milliseconds(1), false));
    } catch (const NoChannel&) {
        // It has gone since the look; the next one shows that.
    }
}

std::vector<ListRow> TrafficTable::rows(const BusIndex& index) const
{
    std::vector<ListRow> rows;
    if (!mSampling) {
        return rows;
    }
    const Tally& tally = mSampling->traffic().mTally;
    for (const auto& [route, figures] : tally.senders()) {
        const Interface* const interface = index.interfaceWithId(route.mSenderId);
        const Communicator* const owner = interface == nullptr ? nullptr : index.ownerOf(*interface);
        rows.push_back({route.mSenderId, &index, {interface, owner, {}, {}, {}, {}}, 0, &figures, &tally});
    }
    std::ranges::sort(rows, {}, &ListRow::mKey);
    return rows;
}

} // namespace Inspect
