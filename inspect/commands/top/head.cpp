#include "inspect/commands/top/head.h"

#include "inspect/bus/bus_index.h"
#include "inspect/cli/durations.h"
#include "inspect/cli/printable.h"
#include "inspect/commands/top/text_fit.h"
#include "inspect/findings/finding.h"
#include "inspect/view/cells.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace Inspect {

namespace {

using std::chrono::milliseconds;

constexpr std::size_t cGap = 2;
constexpr std::chrono::seconds cOldCheck{3}; ///< from this age on, the time of the findings is shown

/// Fields side by side, in as many lines as it takes.
std::vector<FieldLine> flow(const FieldLine& fields, std::size_t width)
{
    std::vector<FieldLine> lines;
    std::size_t used = 0;
    for (const Field& field : fields) {
        const std::size_t needed = shownWidth(field.mText);
        if (lines.empty() || used + cGap + needed > width) {
            lines.emplace_back();
            used = 0;
        } else {
            used += cGap;
        }
        lines.back().push_back(field);
        used += needed;
    }
    return lines;
}

FieldLine titleFields(const HeadOptions& options, const BusState* now)
{
    FieldLine fields{{printable(options.mChannel)}};
    if (now != nullptr) {
        fields.push_back({clockText(now->mTakenAt)});
    }
    if (options.mIsPaused) {
        fields.push_back({"paused", cUneasyColor});
    } else {
        const bool isSlower = options.mPause > options.mInterval;
        fields.push_back({"every " + durationText(isSlower ? options.mPause : options.mInterval)});
        if (isSlower) {
            fields.push_back({"(looks are expensive)"});
        }
    }
    return fields;
}

std::string labelled(const char* what, std::uint64_t number)
{
    std::string text = what;
    text += ' ';
    return text += std::to_string(number);
}

/// A total, marked when it was another at the look before.
Field total(const char* what, std::size_t now, const std::size_t* before)
{
    return {labelled(what, now), nullptr, before != nullptr && *before != now};
}

Field rateField(const std::optional<Rate>& rate)
{
    if (!rate) {
        return {"messages/s -"};
    }
    std::array<char, 32> text{};
    const bool isSmall = rate->mPerSecond > 0 && rate->mPerSecond < 10;
    std::snprintf(text.data(), text.size(), "%.*f", isSmall ? 1 : 0, rate->mPerSecond);
    return {std::string("messages/s ") + (rate->mIsAtLeast ? "at least " : "") + text.data()};
}

void addSlots(FieldLine& fields, const MessageStorage& now, const MessageStorage* before)
{
    fields.push_back({labelled("slots", now.mSize)});
    for (const auto& [state, word] : cSlotStateWords) {
        const std::uint32_t number = now.mTotals.at(state);
        fields.push_back({labelled(word, number), state == Channel::eSlotStateFree && number == 0 ? cBadColor : nullptr,
                          before != nullptr && before->mTotals.at(state) != number});
    }
}

FieldLine totalFields(const BusMonitor& bus)
{
    const BusTotals now = BusIndex(*bus.now()).totals();
    const BusState* const stateBefore = bus.before();
    const BusTotals before = stateBefore == nullptr ? now : BusIndex(*stateBefore).totals();
    FieldLine fields{
        total("interfaces", now.mInterfaces, &before.mInterfaces),
        total("communicators", now.mCommunicators, &before.mCommunicators),
        total("processes", now.mProcesses, &before.mProcesses),
        total("dead", now.mDeadProcesses, &before.mDeadProcesses),
        total("links", now.mLinks, &before.mLinks),
        rateField(bus.rate()),
    };
    fields[3].mColor = now.mDeadProcesses > 0 ? cBadColor : nullptr;
    addSlots(fields, bus.now()->mMessages, stateBefore == nullptr ? nullptr : &stateBefore->mMessages);
    return fields;
}

std::string counted(std::size_t number, const char* what)
{
    std::string text = std::to_string(number);
    text += ' ';
    text += what;
    return number == 1 ? text : text += 's';
}

/// "dead-process: process 1234 clockd: ..."
std::string findingText(const Finding& finding)
{
    const Subject& subject = finding.mSubject;
    std::string text = finding.mKind->mCode;
    text += ": ";
    if (subject.mKind != SubjectKind::eBus) {
        text += labelled(subjectWord(subject.mKind), subject.mId);
        text += subject.mName.empty() ? "" : " ";
        text += printable(subject.mName);
        text += ": ";
    }
    return text += finding.mEvidence;
}

FieldLine findingFields(const BusMonitor& bus)
{
    const std::vector<Finding>& findings = bus.findings();
    FieldLine fields{{"findings:"}};
    if (findings.empty()) {
        fields.push_back({"none"});
    }
    constexpr std::array<std::tuple<Severity, const char*, const char*>, 3> cSeverities{{
        {Severity::eError, "error", cBadColor},
        {Severity::eWarning, "warning", cUneasyColor},
        {Severity::eNote, "note", nullptr},
    }};
    for (const auto& [severity, word, color] : cSeverities) {
        const auto number = static_cast<std::size_t>(std::ranges::count(findings, severity, &Finding::mSeverity));
        if (number > 0) {
            fields.push_back({counted(number, word), color});
        }
    }
    if (bus.now()->mTakenAt - bus.checkedAt() >= cOldCheck) {
        fields.push_back({"at " + clockText(bus.checkedAt())});
    }
    if (!findings.empty()) {
        fields.push_back({findingText(findings.front())});
    }
    return fields;
}

} // namespace

std::vector<FieldLine> headLines(const HeadOptions& options, const BusMonitor& bus, std::size_t width,
                                 std::size_t count)
{
    std::vector<FieldLine> lines{titleFields(options, bus.now())};
    if (bus.now() == nullptr) {
        lines.push_back({{printable(bus.trouble(), Blanks::eKept), cBadColor}});
        return lines;
    }
    for (FieldLine& line : flow(totalFields(bus), width)) {
        if (lines.size() + 1 < count) {
            lines.push_back(std::move(line));
        }
    }
    lines.push_back(findingFields(bus));
    return lines;
}

} // namespace Inspect
