#include "support/churn_report.h"
#include "support/churning_bus.h"
#include "support/live_bus.h"
#include "support/soak.h"

#include "oxa/oxa_result.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <gmock/gmock.h>
#include <random>
#include <sys/resource.h>

using namespace TestSupport;
using ZunicFormat::Registry;

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

/// Writes nonsense wherever a reader looks, but for the mutex, with no lock at all.
class Vandal
{
public:
    explicit Vandal(const ZunicHosting::HostedChannel& channel)
        : mRegistry(*reinterpret_cast<Registry*>(channel.registry())), mMessageSlots(channel.messageSlots())
    {
        const auto& superblock = *reinterpret_cast<const ZunicFormat::Superblock*>(channel.bytes().data());
        const auto managers = channel.bytes().subspan(superblock.memoryManagers.offset);
        mManager = &reinterpret_cast<ZunicFormat::MemoryManagerEntry*>(managers.data())->record;
        mTargets = {std::as_writable_bytes(std::span(mRegistry.interfaces).first(cEntries)),
                    std::as_writable_bytes(std::span(mRegistry.communicators).first(cEntries)),
                    std::span(channel.messages(), mMessageSlots * sizeof(ZunicFormat::MessageSlot)),
                    std::as_writable_bytes(std::span(mManager->block_map)),
                    channel.bytes().subspan(superblock.pools.offset, superblock.pools.size)};
    }

    [[noreturn]] void rage()
    {
        for (;;) {
            for (const std::span<std::byte> target : mTargets) {
                damage(target);
            }
            auto& entry = mRegistry.interfaces[random() % cEntries];
            entry.state = random() % 5; // so that many are in use, and of both types
            entry.type = random() % 4;
            mRegistry.messageStorage.lastWrittenIndex = random();
            mRegistry.messageStorage.storageSize = nowAndThenElse(mMessageSlots);
            mManager->manager.total_blocks = random();
            mManager->manager.maximum_blocks = nowAndThenElse(cBlocks);
        }
    }

    static constexpr std::uint32_t cBlocks = 32;

private:
    /// Few of them, so that reports are short and runs many.
    static constexpr std::size_t cEntries = 48;

    std::uint32_t random() { return static_cast<std::uint32_t>(mRandom()); }

    /// A channel whose geometry is wrong is not even looked at.
    std::uint32_t nowAndThenElse(std::uint32_t geometry) { return random() % 16 == 0 ? random() : geometry; }

    /// Half of the numbers are small ones, as states and types are.
    void damage(std::span<std::byte> target)
    {
        const std::uint32_t number = random() % (random() % 2 == 0 ? 5 : 0xFFFFFFFF);
        const std::size_t size = std::size_t{1} << random() % 3;
        std::memcpy(&target[random() % (target.size() / size) * size], &number, size);
    }

    std::mt19937 mRandom;
    Registry& mRegistry;
    std::uint32_t mMessageSlots;
    oxa_memory_manager_record* mManager;
    std::vector<std::span<std::byte>> mTargets;
};

TEST(FaultOfAVandal, EveryRunEnds)
{
    const auto channel = ZunicHosting::HostedChannel::create(
        {.name = uniqueChannelName(),
         .messageSlots = 64,
         .memoryManagers = {{.maximumBlocks = Vandal::cBlocks}, {.blockSize = 64}}});
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
