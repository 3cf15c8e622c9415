#include "inspect/commands/metrics/metrics.h"

#include <gmock/gmock.h>
#include <sstream>

using namespace Inspect;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

namespace {

Communicator communicatorOf(std::uint32_t processId, Living living)
{
    return {.mId = 1, .mProcessId = processId, .mState = 1, .mProcess = {{}, {}, living}};
}

std::string metricsOf(const BusState& now, const BusState* before = nullptr)
{
    std::ostringstream text;
    writeMetrics(text, now, before);
    return text.str();
}

TEST(Metrics, OfADamagedBusHaveNoSeriesForEachNumber)
{
    BusState state;
    for (const std::uint32_t number : {1'000'000U, 2'000'000U}) {
        Interface& interface = state.mInterfaces.emplace_back();
        interface.mType = number;
        interface.mState = number;
    }
    EXPECT_THAT(metricsOf(state), AllOf(HasSubstr("{channel=\"\",type=\"other\",state=\"other\"} 2\n"),
                                        HasSubstr("{channel=\"\",type=\"stub\",state=\"registered\"} 0\n")));
}

TEST(Metrics, CountADeadProcessOnceAndNoneThatIsNotToBeKnown)
{
    BusState state;
    state.mCommunicators = {communicatorOf(7, Living::eNo), communicatorOf(7, Living::eNo),
                            communicatorOf(8, Living::eUnknown), communicatorOf(9, Living::eYes)};
    EXPECT_THAT(metricsOf(state), HasSubstr("zunic_dead_processes{channel=\"\"} 1\n"));
}

TEST(Metrics, KeepSmallAndLargeNumbersWhole)
{
    BusState state;
    state.mTakenAt = WallTime(std::chrono::milliseconds(1'795'431'281'323));
    state.mMutexHeld = std::chrono::nanoseconds(1);
    state.mMemoryManagers.resize(1);
    state.mMemoryManagers[0].mBlockSize = 100'000;
    state.mMemoryManagers[0].mTotalBlocks = std::uint64_t{1} << 52;
    EXPECT_THAT(metricsOf(state),
                AllOf(HasSubstr("_timestamp_seconds{channel=\"\"} 1795431281.323\n"),
                      HasSubstr("zunic_mutex_held_seconds{channel=\"\"} 0.000000001\n"),
                      HasSubstr("_size_bytes{channel=\"\",manager=\"0\"} 100000\n"),
                      HasSubstr("zunic_memory_blocks{channel=\"\",manager=\"0\"} 4503599627370496\n")));
}

TEST(Metrics, ClaimWhatShowsOnlyOverTimeAfterTheSecondLook)
{
    BusState state;
    state.mMessages.mSize = 8;
    constexpr auto cError = "{channel=\"\",code=\"slots-low\",severity=\"error\"} 1\n";
    constexpr auto cWarning = "{channel=\"\",code=\"slots-low\",severity=\"warning\"} 1\n";
    EXPECT_THAT(metricsOf(state), AllOf(HasSubstr(cWarning), Not(HasSubstr(cError))));
    EXPECT_THAT(metricsOf(state, &state), AllOf(HasSubstr(cError), Not(HasSubstr(cWarning))));
}

} // namespace
