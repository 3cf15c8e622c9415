#include "inspect/commands/traffic/figure_cells.h"
#include "inspect/commands/traffic/traffic_report.h"
#include "inspect/view/cells.h"

namespace Inspect {

namespace {

using std::chrono::microseconds;

/// "1,304"
std::string grouped(std::uint64_t number)
{
    const std::string digits = std::to_string(number);
    std::string text;
    for (std::size_t place = 0; place < digits.size(); ++place) {
        if (place > 0 && (digits.size() - place) % 3 == 0) {
            text += ',';
        }
        text += digits[place];
    }
    return text;
}

class RowTable
{
public:
    RowTable(const Traffic& traffic, By by, const TableStyle& style)
        : mTraffic(traffic), mBy(by), mTable(headings(by), style)
    {}

    void add(const TrafficRow& row)
    {
        const auto& [route, figures] = row;
        std::vector<Cell> cells;
        if (mBy != By::eReceiver) {
            addParty(cells, route.mSenderId);
        }
        if (mBy != By::eSender) {
            addParty(cells, route.mReceiverId);
        }
        addFigures(cells, *figures);
        mTable.addLine(cells);
    }

    std::string text() const { return mTable.text(); }

private:
    static std::vector<Heading> headings(By by)
    {
        constexpr ColumnKind cNumber = ColumnKind::eNumber;
        std::vector<Heading> all;
        if (by != By::eReceiver) {
            all.insert(all.end(), {{"SENDER", cNumber}, {"NAME"}});
        }
        if (by != By::eSender) {
            all.insert(all.end(), {{"ADDRESSED TO", cNumber}, {"NAME"}});
        }
        if (by != By::ePair) {
            all.insert(all.end(), {{"PID", cNumber}, {"APP"}});
        }
        all.insert(all.end(), {{"MSG/S", cNumber}, {"B/S", cNumber}});
        if (by != By::ePair) {
            all.push_back({by == By::eSender ? "TO" : "FROM", cNumber});
        }
        all.insert(all.end(), {{"STAYS", cNumber}, {"P99", cNumber}, {"MAX", cNumber}, {"STILL", cNumber}});
        return all;
    }

    void addParty(std::vector<Cell>& cells, std::uint16_t id) const
    {
        const Party party = mTraffic.mParties.party(id);
        cells.insert(cells.end(), {numberCell(id), Cell{party.mInterface.mName}});
        if (mBy != By::ePair) {
            cells.insert(cells.end(), {processIdCell(party.owner()), applicationCell(party.owner())});
        }
    }

    void addFigures(std::vector<Cell>& cells, const Figures& figures) const
    {
        const Tally& tally = mTraffic.mTally;
        cells.insert(cells.end(), {rateCell(figures.mMessages, tally), sizeCell(figures.mUserDataSize, tally)});
        if (mBy != By::ePair) {
            cells.push_back(numberCell(figures.mOthers.count()));
        }
        const TimeHistogram& stays = figures.mStays;
        for (const microseconds time : {stays.quantile(0.5), stays.quantile(0.99), stays.longest()}) {
            cells.push_back(stayCell(stays, time, tally.interval()));
        }
        cells.push_back(numberCell(figures.mStill));
    }

    const Traffic& mTraffic;
    By mBy;
    Table mTable;
};

/// How many messages there were, and how many of them were seen.
std::string countText(const Tally& tally)
{
    const auto counted = tally.counted();
    if (!counted) {
        return "at least " + grouped(tally.seen()) + " messages seen (" + tally.doubt() + ")";
    }
    const std::string share =
        *counted == 0
            ? ""
            : formatted(" (%.1f %%)", 100 * static_cast<double>(tally.seen()) / static_cast<double>(*counted));
    return grouped(*counted) + " messages counted, " + grouped(tally.seen()) + " seen" + share + ", " +
           rateCell(*counted, tally).mBytes + "/s";
}

} // namespace

void writeTrafficText(std::ostream& out, const Traffic& traffic, By by, const InterfaceFilter& filter,
                      const TableStyle& style)
{
    RowTable table(traffic, by, style);
    for (const TrafficRow& row : trafficRows(traffic, by, filter)) {
        table.add(row);
    }
    const Tally& tally = traffic.mTally;
    out << table.text() << countText(tally) << "; slots in use: median " << grouped(tally.medianInUse()) << ", maximum "
        << grouped(tally.mostInUse()) << " of " << grouped(tally.slots()) << "; interval "
        << formatted("%.1f ms", static_cast<double>(tally.interval().count()) / 1000) << '\n';
    if (by == By::ePair && tally.otherPairs().mMessages > 0) {
        out << "too many pairs: " << grouped(tally.otherPairs().mMessages) << " messages of others left out\n";
    }
    if (traffic.mIsGone) {
        out << "the channel is gone\n";
    }
}

} // namespace Inspect
