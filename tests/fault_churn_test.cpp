#include "support/churn_report.h"
#include "support/churning_bus.h"
#include "support/live_bus.h"
#include "support/soak.h"

#include "oxa/oxa_result.h"

#include <algorithm>
#include <chrono>
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
        : mBytes(channel.bytes()),
          mRegistry(*reinterpret_cast<Registry*>(channel.registry())),
          mSlots(reinterpret_cast<ZunicFormat::MessageSlot*>(channel.messages()), channel.messageSlots())
    {}

    [[noreturn]] void rage()
    {
        for (;;) {
            damageInterface(mRegistry.interfaces[below(cEntries)]);
            damageMessage(mSlots[below(mSlots.size())]);
            auto& communicator = mRegistry.communicators[below(cEntries)];
            communicator = {any<std::uint32_t>(), below<std::uint16_t>(4200), 0, below<std::uint32_t>(5), {}};
            auto& storage = mRegistry.messageStorage;
            storage.lastWrittenIndex = any<std::uint32_t>();
            storage.storageSize = below(16U) == 0 ? any<std::uint32_t>() : static_cast<std::uint32_t>(mSlots.size());
            damageMemory();
        }
    }

private:
    /// Few of them, so that reports are short and runs many.
    static constexpr std::size_t cEntries = 48;
    static constexpr std::uint32_t cBlocks = 32;

    template <typename Number>
    Number any()
    {
        return static_cast<Number>(mRandom());
    }

    template <typename Number>
    Number below(Number limit)
    {
        return static_cast<Number>(mRandom() % limit);
    }

    void scrawl(char* text, std::size_t size)
    {
        const std::size_t begin = below(size);
        std::fill_n(text + begin, below(size - begin), any<char>());
    }

    void damageInterface(ZunicFormat::InterfaceEntry& entry)
    {
        scrawl(entry.interfaceName, sizeof entry.interfaceName);
        scrawl(entry.roleName, sizeof entry.roleName);
        scrawl(entry.domainName, sizeof entry.domainName);
        entry.type = below(4U);
        entry.interfaceId = below(4U) == 0 ? any<std::uint16_t>() : below<std::uint16_t>(2 * cEntries);
        entry.communicatorId = below<std::uint16_t>(5000);
        entry.receivers[below(ZunicFormat::cReceiverWords)] = mRandom() & mRandom();
        entry.functions = {below<std::uint16_t>(3), below<std::uint16_t>(40)};
        entry.state = below(5U);
    }

    void damageMessage(ZunicFormat::MessageSlot& slot)
    {
        slot.dataIndex = below(2U) == 0 ? any<std::uint32_t>() : below(static_cast<std::uint32_t>(mSlots.size()));
        slot.receivers[below(ZunicFormat::cReceiverWords)] = mRandom() & mRandom();
        slot.stateAndSender = static_cast<std::uint16_t>(below(6U) | any<unsigned>() << 4);
    }

    void damageMemory()
    {
        const auto& superblock = *reinterpret_cast<const ZunicFormat::Superblock*>(mBytes.data());
        const auto pools = mBytes.subspan(superblock.pools.offset);
        pools[below(pools.size())] = any<std::byte>();
        auto& record =
            reinterpret_cast<ZunicFormat::MemoryManagerEntry*>(&mBytes[superblock.memoryManagers.offset])->record;
        record.block_map[below(std::size(record.block_map))] = mRandom();
        record.manager.total_blocks = any<std::uint32_t>();
        record.manager.maximum_blocks = below(16U) == 0 ? any<std::uint32_t>() : cBlocks;
    }

    std::mt19937_64 mRandom;
    std::span<std::byte> mBytes;
    Registry& mRegistry;
    std::span<ZunicFormat::MessageSlot> mSlots;
};

TEST(FaultOfAVandal, EveryRunEnds)
{
    const auto channel =
        ZunicHosting::HostedChannel::create({.name = uniqueChannelName(),
                                             .messageSlots = 64,
                                             .memoryManagers = {{.maximumBlocks = 32}, {.blockSize = 64}}});
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
