#include "inspect_outputs.h"

#include "inspect/changes/wording.h"
#include "inspect/commands/list/columns.h"
#include "inspect/commands/list/lists.h"
#include "inspect/commands/metrics/metrics.h"
#include "inspect/commands/page/page_data.h"
#include "inspect/findings/contract/compare_contract.h"
#include "inspect/findings/contract/write_contract.h"
#include "inspect/findings/findings.h"
#include "inspect/saved/json_text.h"
#include "inspect/saved/state_json.h"
#include "inspect/view/interface_tree.h"

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <numeric>
#include <sstream>
#include <string>

using namespace Inspect;

namespace {

/// A state is the same after it has been written and read, and is written in one way.
void save(const BusState& state)
{
    std::stringstream text;
    writeState(text, state);
    const BusState copy = readState(text);
    require(copy == state, "a state is the same after it has been written and read");
    std::ostringstream again;
    writeState(again, copy);
    require(again.str() == text.str(), "a state is written in one way");
}

void list(const BusIndex& index, const ListKind& kind)
{
    std::vector<std::size_t> places(kind.mColumns.size());
    std::iota(places.begin(), places.end(), std::size_t{0});
    const std::vector<ListRow> rows = kind.mRows(index, {});
    std::ostringstream text;
    for (const bool isWhole : {false, true}) {
        writeTable(text, kind, rows, places, {.mIsWhole = isWhole});
    }
    for (const ListRow& row : rows) {
        text << jsonText(kind.mJson(row));
    }
    requirePlain(text.str());
}

void show(const BusIndex& index, const BusState& state)
{
    for (const Interface& interface : state.mInterfaces) {
        requirePlain(interfaceTree(interface, index, {}));
    }
}

void check(const std::vector<Finding>& findings)
{
    for (const Finding& finding : findings) {
        requirePlain(finding.mEvidence);
        requirePlain(jsonText(toJson(finding)));
    }
}

void diff(const BusState& before, const BusState& now)
{
    forEachChange(before, now, Traffic::eTold, [](const Change& change) {
        requirePlain(lineOf(change));
        requirePlain(jsonText(toJson(change)));
    });
    const auto isNone = [](const Change&) { require(false, "a state does not differ from itself"); };
    forEachChange(now, now, Traffic::eTold, isNone);
}

/// A bus keeps the contract that was written of it, except for what is unknown.
void holdToItsContract(const BusIndex& index)
{
    std::stringstream text;
    writeContract(text, index);
    for (const Finding& finding : compareWithContract(readContract(text), index)) {
        require(finding.mSeverity == Severity::eNote, finding.mKind->mCode);
    }
}

} // namespace

void require(bool condition, const char* what)
{
    if (!condition) {
        std::cerr << "Broken: " << what << std::endl;
        std::abort();
    }
}

void requirePlain(std::string_view text)
{
    const auto isControl = [](unsigned char c) { return (c < ' ' && c != '\n') || c == 0x7F; };
    require(std::ranges::none_of(text, isControl), "output has no control characters");
}

void makeOutputs(const BusState& before, const BusState& now)
{
    const BusIndex index(now);
    const BusIndex indexBefore(before);
    const std::vector<Finding> findings = findAll(index, &indexBefore);
    save(now);
    for (const ListKind* const kind :
         {&cInterfaceList, &cCommunicatorList, &cProcessList, &cMemoryList, &cMessageList}) {
        list(index, *kind);
    }
    show(index, now);
    check(findings);
    diff(before, now);
    holdToItsContract(index);
    std::ostringstream metrics; // Labels may have any character.
    writeMetrics(metrics, now, &before);
    std::ostringstream page;
    writePageData(page, now, findings);
    requirePlain(page.str());
    require(page.str().find('<') == std::string::npos, "no element of the page ends within its data");
}
