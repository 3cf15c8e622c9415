#include "inspect/diff/diff.h"

#include "inspect/diff/wording.h"
#include "inspect/source/source.h"

namespace Inspect {

namespace {

void writeText(std::ostream& out, const std::vector<Change>& changes, bool isColored)
{
    for (const Change& change : changes) {
        const std::string line = lineOf(change);
        out << (isColored ? colored(line) : line) << '\n';
    }
}

Json whereAndWhen(const BusState& state)
{
    return {{"channel", nameToJson(state.mChannel)}, {"taken_at", timeText(state.mTakenAt)}};
}

void writeJson(std::ostream& out, const BusState& before, const BusState& now, const std::vector<Change>& changes)
{
    out << "{\"schema\":" << Json(cDiffSchema) << ",\n\"before\":" << whereAndWhen(before)
        << ",\n\"now\":" << whereAndWhen(now) << ",\n\"changes\":[";
    const char* separator = "\n";
    for (const Change& change : changes) {
        out << separator << toJson(change);
        separator = ",\n";
    }
    out << "\n]}\n";
}

} // namespace

void dropIgnored(std::vector<Change>& changes, const ChangeOptions& options)
{
    std::erase_if(changes,
                  [&](const Change& change) { return options.mIsIgnored.at(static_cast<std::size_t>(change.mKind)); });
}

ExitStatus runDiff(const DiffOptions& options, std::ostream& out)
{
    const BusState before = readSource({.mChannel = {}, .mFrom = options.mBefore}, Wanted::everything());
    const BusState now = readSource({.mChannel = options.mChannel, .mFrom = options.mNow}, Wanted::everything());
    std::vector<Change> changes = changesBetween(before, now);
    dropIgnored(changes, options.mChanges);
    if (options.mChanges.mJson) {
        writeJson(out, before, now, changes);
    } else {
        writeText(out, changes, options.mChanges.mColors);
    }
    return changes.empty() ? eExitYes : eExitNo;
}

} // namespace Inspect
