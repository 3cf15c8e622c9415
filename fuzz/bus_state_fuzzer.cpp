// Reads its input as a saved state, and as a contract. Whatever reads as a state is, written and read again, the same
// value, and can be judged, compared and told; whatever does not is complained of in one line.

#include "inspect/changes/changes.h"
#include "inspect/commands/metrics/metrics.h"
#include "inspect/findings/contract/compare_contract.h"
#include "inspect/findings/contract/write_contract.h"
#include "inspect/findings/findings.h"
#include "inspect/saved/state_json.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <sstream>
#include <string>
#include <string_view>

namespace {

void require(bool condition, const char* what)
{
    if (!condition) {
        std::cerr << "Broken: " << what << std::endl;
        std::abort();
    }
}

std::string written(const Inspect::BusState& state)
{
    std::ostringstream text;
    writeState(text, state);
    return text.str();
}

/// A bus keeps the contract that was written of it, except for what is unknown.
void holdToItsContract(const Inspect::BusState& state)
{
    std::stringstream text;
    const Inspect::BusIndex index(state);
    writeContract(text, index);
    for (const Inspect::Finding& finding : compareWithContract(Inspect::readContract(text), index)) {
        require(finding.mSeverity == Inspect::Severity::eNote, finding.mKind->mCode);
    }
}

void lookAt(const Inspect::BusState& state)
{
    std::ostringstream figures;
    writeMetrics(figures, state, &state);
    findAll(Inspect::BusIndex(state));
    const auto isNone = [](const Inspect::Change&) { require(false, "a state does not differ from itself"); };
    forEachChange(state, state, Inspect::Traffic::eTold, isNone);
    forEachChange(Inspect::BusState(), state, Inspect::Traffic::eTold, [](const Inspect::Change&) {});
    holdToItsContract(state);
}

template <typename Read>
void readAs(std::string_view data, Read read)
{
    try {
        std::istringstream input{std::string(data)};
        read(input);
    } catch (const Inspect::NoState& error) {
        require(std::string_view(error.what()).find('\n') == std::string_view::npos, "a complaint is one line");
    }
}

void readAsState(std::istream& input)
{
    const Inspect::BusState state = Inspect::readState(input);
    const std::string text = written(state);
    std::istringstream again(text);
    const Inspect::BusState copy = Inspect::readState(again);
    require(copy == state, "a state is the same after it has been written and read");
    require(written(copy) == text, "a state is written in one way");
    lookAt(state);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    readAs(text, readAsState);
    readAs(text, Inspect::readContract);
    return 0;
}
