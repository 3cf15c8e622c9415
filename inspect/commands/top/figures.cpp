#include "inspect/commands/top/figures.h"

#include <unordered_set>

namespace Inspect {

namespace {

constexpr double cRange = 65'536;
constexpr double cMostPerSecond = 50'000;

} // namespace

Rate messageRate(std::uint16_t before, std::uint16_t now, std::chrono::duration<double> elapsed)
{
    if (elapsed.count() <= 0) {
        return {};
    }
    const auto counted = static_cast<std::uint16_t>(now - before);
    return {counted / elapsed.count(), elapsed.count() * cMostPerSecond >= cRange || counted > cRange / 2};
}

Totals totalsOf(const BusState& state)
{
    Totals totals{.mInterfaces = state.mInterfaces.size(), .mCommunicators = state.mCommunicators.size()};
    for (const Interface& interface : state.mInterfaces) {
        totals.mLinks += interface.mReceivers.size();
    }
    std::unordered_set<std::uint32_t> processes;
    for (const Communicator& communicator : state.mCommunicators) {
        if (processes.insert(communicator.mProcessId).second) {
            totals.mDeadProcesses += communicator.mProcess.mLiving == Living::eNo ? 1U : 0U;
        }
    }
    totals.mProcesses = processes.size();
    return totals;
}

} // namespace Inspect
