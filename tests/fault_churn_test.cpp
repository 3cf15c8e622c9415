#include "support/churn_report.h"
#include "support/churning_bus.h"
#include "support/soak.h"
#include "support/vandal.h"

#include "oxa/oxa_result.h"

#include <algorithm>
#include <chrono>
#include <gmock/gmock.h>
#include <sys/resource.h>

using namespace TestSupport;

namespace {

TEST(FaultOfChurn, NoSnapshotIsTorn)
{
    ChurningBus bus(3);
    const InProcessEnquirer enquirer;
    const int snapshots = rounds(150, 10'000);
    for (int i = 0; i < snapshots; ++i) {
        ASSERT_EQ(churnFaultIn(enquirer.report(bus.name()), bus.processes()), "");
    }
    EXPECT_TRUE(bus.goesOn());
    figures() << snapshots << " snapshots during " << bus.roundsDone() << " rounds of churn\n";
}

TEST(FaultOfChurn, NoReportRunFails)
{
    ChurningBus bus(3);
    const TemporaryDirectory directory;
    const std::string output = directory / "output";
    const int runs = rounds(40, 2000);
    for (int i = 0; i < runs; ++i) {
        const ProgramResult result = runEnquirer({"-d", "-o", output, bus.name()});
        ASSERT_EQ(result.status, 0) << result.errors;
        ASSERT_EQ(churnFaultIn(readFile(output + "/interfaces_communicators_info.txt"), bus.processes()), "");
        ASSERT_THAT(readFile(output + "/interfaces_communicators_info.dot"), testing::EndsWith("\n}\n"));
        ASSERT_THAT(readFile(output + "/messages.txt"), testing::HasSubstr("Message Storage Size: 64\n"));
        ASSERT_FALSE(std::filesystem::exists(output + "/temp.txt"));
    }
    EXPECT_TRUE(bus.goesOn());
    figures() << runs << " report runs during " << bus.roundsDone() << " rounds of churn\n";
}

TEST(FaultOfAVandal, EveryRunEnds)
{
    auto channel = Vandal::createChannel();
    const ForkedChild vandal([&] {
        Vandal(channel).rage();
        return 0;
    });
    const TemporaryDirectory directory;
    const int runs = rounds(60, 10'000);
    std::map<int, int> statuses;
    std::chrono::duration<double> longest{};
    for (int i = 0; i < runs; ++i) {
        const auto begin = std::chrono::steady_clock::now();
        const ProgramResult result = runEnquirer({"-d", "-b", "-o", directory / "output", channel.name()},
                                                 {.watchdog = std::chrono::seconds(30)});
        longest = std::max(longest, std::chrono::duration<double>(std::chrono::steady_clock::now() - begin));
        ++statuses[result.status];
        // What has more message slots or blocks than there is room for is no channel.
        ASSERT_TRUE(result.status == 0 || result.status == static_cast<int>(OxaResult::cFailed.code()) ||
                    result.status == static_cast<int>(OxaResult::cObjectInvalid.code()))
            << result.status << result.errors;
        ASSERT_FALSE(std::filesystem::exists(directory / "output/temp.txt"));
    }
    EXPECT_GT(statuses[0], 0);
    rusage usage{};
    getrusage(RUSAGE_CHILDREN, &usage);
    EXPECT_LT(usage.ru_maxrss, 512 * 1024) << "KiB";
    figures() << runs << " runs, exit statuses " << testing::PrintToString(statuses) << ", the longest "
              << longest.count() << " s, the largest " << usage.ru_maxrss << " KiB\n";
}

} // namespace
