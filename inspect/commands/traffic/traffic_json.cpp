#include "inspect/bus/words.h"
#include "inspect/commands/traffic/traffic_report.h"
#include "inspect/saved/json_text.h"
#include "inspect/saved/record_json.h"

#include <nlohmann/json.hpp>

namespace Inspect {

namespace {

template <typename Value>
Json orNull(bool isKnown, const Value& value)
{
    return isKnown ? Json(value) : Json(nullptr);
}

Json partyJson(const Party& party)
{
    const Interface& interface = party.mInterface;
    const bool isKnown = party.mIsKnown;
    const Communicator owner = party.mOwner.value_or(Communicator());
    const auto& application = owner.mProcess.mApplication;
    return {{"id", interface.mId},
            {"name", orNull(isKnown, nameToJson(interface.mName))},
            {"role", orNull(isKnown, nameToJson(interface.mRole))},
            {"domain", orNull(isKnown, nameToJson(interface.mDomain))},
            {"pid", orNull(party.mOwner.has_value(), owner.mProcessId)},
            {"application", orNull(application.has_value(), nameToJson(application.value_or("")))}};
}

void addFigures(Json& json, const Figures& figures)
{
    const TimeHistogram& stays = figures.mStays;
    json["messages"] = figures.mMessages;
    json["bytes"] = figures.mUserDataSize;
    json["stays_us"] = orNull(stays.count() > 0, Json{{"median", stays.quantile(0.5).count()},
                                                      {"p99", stays.quantile(0.99).count()},
                                                      {"max", stays.longest().count()}});
    json["still"] = figures.mStill;
}

Json rowJson(const Traffic& traffic, By by, const TrafficRow& row)
{
    const auto& [route, figures] = row;
    Json json;
    if (by == By::ePair) {
        json["sender"] = partyJson(traffic.mParties.party(route.mSenderId));
        json["receiver"] = partyJson(traffic.mParties.party(route.mReceiverId));
    } else {
        json = partyJson(traffic.mParties.party(by == By::eSender ? route.mSenderId : route.mReceiverId));
        json[by == By::eSender ? "receivers" : "senders"] = figures->mOthers.count();
    }
    addFigures(json, *figures);
    return json;
}

Json headJson(const Traffic& traffic)
{
    const Tally& tally = traffic.mTally;
    const auto counted = tally.counted();
    return {{"schema", cTrafficSchema},
            {"channel", nameToJson(traffic.mChannel)},
            {"taken_at", utcText(traffic.mTakenAt)},
            {"host", nameToJson(traffic.mHost)},
            {"seconds", tally.elapsed().count()},
            {"interval_us", tally.interval().count()},
            {"longest_interval_us", tally.longestInterval().count()},
            {"samples", tally.samples()},
            {"messages_counted", orNull(counted.has_value(), counted.value_or(0))},
            {"doubt", tally.doubt() == nullptr ? Json(nullptr) : Json(tally.doubt())},
            {"messages_seen", tally.seen()},
            {"slots", {{"size", tally.slots()}, {"median", tally.medianInUse()}, {"max", tally.mostInUse()}}},
            {"channel_gone", traffic.mIsGone},
            {"messages_of_other_pairs", tally.otherPairs().mMessages}};
}

void writeRows(std::ostream& out, const Traffic& traffic, By by, const InterfaceFilter& filter, const char* key)
{
    out << ",\n" << jsonText(key) << ": [";
    const char* separator = "\n";
    for (const TrafficRow& row : trafficRows(traffic, by, filter)) {
        out << separator << jsonText(rowJson(traffic, by, row));
        separator = ",\n";
    }
    out << "\n]";
}

} // namespace

void writeTrafficJson(std::ostream& out, const Traffic& traffic, const InterfaceFilter& filter)
{
    const Json head = headJson(traffic);
    const char* separator = "{\n";
    for (const auto& [key, value] : head.items()) {
        out << separator << jsonText(key) << ": " << jsonText(value);
        separator = ",\n";
    }
    writeRows(out, traffic, By::eSender, filter, "senders");
    writeRows(out, traffic, By::eReceiver, filter, "receivers");
    writeRows(out, traffic, By::ePair, filter, "pairs");
    out << "\n}\n";
}

} // namespace Inspect
