#include "support/churn_report.h"
#include "support/churning_bus.h"
#include "support/live_bus.h"
#include "support/sanitized.h"
#include "support/soak.h"

#include "churn.h"
#include "oxa/oxa_result.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <gmock/gmock.h>
#include <linux/futex.h>
#include <map>
#include <random>
#include <span>
#include <sys/ptrace.h>

using namespace TestSupport;
using ZunicFormat::InterfaceEntry;
using ZunicHosting::HostedChannel;

namespace {

/// Pauses of any length up to a maximum; the same in every run.
class RandomPauses
{
public:
    explicit RandomPauses(unsigned longestMicroseconds) : mLength(0, longestMicroseconds) {}
    void pause() { usleep(mLength(mRandom)); }

private:
    std::minstd_rand mRandom;
    std::uniform_int_distribution<unsigned> mLength;
};

/// Stops the process somewhere between the lock and the unlock of a round. False when it cannot be caught there.
bool stopWhileItHolds(const ForkedChild& process, const ChurningBus& bus, RandomPauses& pauses)
{
    return waitUntil([&] {
        pauses.pause();
        process.stop();
        if (bus.holder() == process.processId()) {
            return true;
        }
        process.send(SIGCONT);
        return false;
    });
}

TEST(FaultOfAMutexHolder, KilledAtAnyMoment)
{
    const InProcessEnquirer enquirer;
    RandomPauses pauses(300);
    std::uint64_t longestRound = 0;
    const int kills = rounds(25, 2000);
    for (int i = 0; i < kills; ++i) {
        ChurningBus bus(2);
        ForkedChild victim = bus.startVictim();
        ASSERT_TRUE(stopWhileItHolds(victim, bus, pauses));
        victim.send(SIGKILL);
        ASSERT_EQ(victim.wait(), cKilled);
        ASSERT_EQ(churnFaultIn(enquirer.report(bus.name()), bus.processes()), "");
        ASSERT_TRUE(bus.goesOn()) << i;
        longestRound = std::max(longestRound, bus.longestRoundInMicroseconds());
    }
    figures() << kills << " holders killed, the longest round of churn " << longestRound << " us\n";
}

constexpr std::uint16_t cCommunicator = 7;

bool isWhole(const InterfaceEntry& entry, pid_t process)
{
    const std::uint64_t sequence = std::strtoull(entry.roleName, nullptr, 10);
    return sequence != 0 && ZunicDemo::churnName(process, sequence) == entry.interfaceName &&
           std::string(entry.domainName) == ZunicDemo::Churn::cChurnDomain &&
           std::ranges::equal(entry.version, ZunicDemo::churnVersion(sequence)) &&
           entry.communicatorId == cCommunicator && (entry.type == 1 || entry.type == 2);
}

/// Death can come between any two instructions. So a process goes through rounds of churn instruction by instruction,
/// and between any two of them every entry in use is looked at: that is what the next holder finds.
TEST(FaultOfAMutexHolder, LeavesWholeEntriesAfterEveryInstruction)
{
    if (cIsSanitized) {
        GTEST_SKIP() << "most instructions would be the sanitizer's";
    }
    HostedChannel channel = HostedChannel::create({.name = uniqueChannelName(), .messageSlots = 16});
    channel.lock().registerCommunicator(1, cCommunicator);
    constexpr std::size_t cEntriesOfFiveRounds = 10;
    const auto& registry = *reinterpret_cast<const ZunicFormat::Registry*>(channel.registry());
    const auto entries = std::span(registry.interfaces).first(cEntriesOfFiveRounds);
    const ForkedChild stepped([&] {
        ZunicDemo::Churn churn(channel, cCommunicator);
        for (std::size_t i = 0; i < ZunicDemo::Churn::cLivingPairs; ++i) {
            churn.runRound();
        }
        ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
        raise(SIGSTOP);
        churn.runRound();
        return 0;
    });
    int status = 0;
    long steps = 0;
    ASSERT_EQ(waitpid(stepped.processId(), &status, 0), stepped.processId());
    if (!WIFSTOPPED(status)) {
        GTEST_SKIP() << "no process may be traced here";
    }
    for (; WIFSTOPPED(status); ++steps) {
        for (const InterfaceEntry& entry : entries) {
            ASSERT_TRUE(entry.state != 1 || isWhole(entry, stepped.processId()))
                << "after " << steps << " instructions";
        }
        ASSERT_EQ(ptrace(PTRACE_SINGLESTEP, stepped.processId(), nullptr, nullptr), 0);
        ASSERT_EQ(waitpid(stepped.processId(), &status, 0), stepped.processId());
    }
    EXPECT_EQ(status, 0);
    EXPECT_STREQ(entries[8].roleName, "5");
    figures() << steps << " instructions stepped through\n";
}

TEST(FaultOfAMutexHolder, StoppedForLong)
{
    HostedChannel channel = HostedChannel::create({.name = uniqueChannelName()});
    channel.lock().registerInterface({.interfaceName = "Clock", .roleName = "Provider"});
    const std::vector<std::string> query{"-i", "Clock", channel.name()};
    const Gate held;
    const Gate release;
    ForkedChild holder([&] {
        const ZunicHosting::LockedRegistry lock(channel);
        return held.open() && release.await() ? 0 : 1;
    });
    ASSERT_TRUE(held.await());
    holder.stop();

    const TemporaryDirectory directory;
    for (const auto& arguments : {query, {"-d", "-o", directory / "output", channel.name()}}) {
        const auto begin = std::chrono::steady_clock::now();
        const ProgramResult result = runEnquirer(arguments, {.watchdog = std::chrono::seconds(30)});
        figures() << "gave up after " << std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count()
                  << " s\n";
        EXPECT_EQ(result.status, static_cast<int>(OxaResult::cFailed.code()));
        EXPECT_EQ(result.output, "");
        EXPECT_EQ(result.errors,
                  "Failed to initialise (using shared memory channel name \"" + channel.name() + "\")\n");
    }
    EXPECT_THAT(directory.entries(), testing::IsEmpty());

    holder.send(SIGCONT);
    release.open();
    EXPECT_EQ(holder.wait(), 0);
    EXPECT_EQ(runEnquirer(query).status, 0);
    channel.lock().registerInterface({.interfaceName = "Clock", .roleName = "Navigator"});
}

/// Somebody who writes what he likes over all of the mutex but its marker, while the tool waits for it and holds it.
TEST(FaultOfTheMutex, OverwrittenAllTheTime)
{
    const HostedChannel channel = HostedChannel::create({.name = uniqueChannelName()});
    auto* const mutex =
        reinterpret_cast<volatile std::uint32_t*>(channel.registry() + offsetof(ZunicFormat::Registry, mutex));
    const ForkedChild vandal([&] {
        std::minstd_rand random;
        constexpr std::uint32_t cNobody = 0x3FFFFFF0;
        for (const std::uint32_t words[] = {0, 0, 0, cNobody, FUTEX_OWNER_DIED, FUTEX_OWNER_DIED | cNobody};;) {
            mutex[0] = words[random() % std::size(words)];
            for (int field = 1; field < 10; ++field) {
                mutex[field] = static_cast<std::uint32_t>(random());
            }
            if (random() % 16 == 0) {
                usleep(static_cast<useconds_t>(random() % 1000));
            }
        }
        return 0;
    });
    std::map<int, int> ends;
    const int runs = rounds(100, 10'000);
    for (int i = 0; i < runs; ++i) {
        ++ends[runEnquirer({"-i", "Clock", channel.name()}).status];
    }
    const int answered = ends[static_cast<int>(OxaResult::cObjectNotFound.code())];
    const int refused = ends[static_cast<int>(OxaResult::cFailed.code())];
    EXPECT_EQ(answered + refused, runs) << testing::PrintToString(ends);
    figures() << answered << " answered, " << refused << " refused\n";
}

/// Neither as the dead nor as the stopped holder may the tool be in the bus's way. All its threads have to agree on
/// that.
TEST(FaultOfTheHoldingEnquirer, PutsOffSignalsUntilTheMutexIsGivenBack)
{
    const HostedChannel channel = HostedChannel::create({.name = uniqueChannelName()});
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGTSTP}) {
        std::signal(signal, SIG_DFL);
        const TemporaryDirectory directory;
        // A signal to go on can make the leak detector, which stops the program when it ends, wait for ever.
        Program tool({ENQUIRER_BINARY, "-i", "Clock", channel.name()},
                     {.environment = {{"LD_PRELOAD", LONG_HOLD},
                                      {"HOLD_UNTIL", directory / "until"},
                                      {"ASAN_OPTIONS", "verify_asan_link_order=0:detect_leaks=0"},
                                      {"DLT_PIPE_DIR", directory.path().string()}}});
        ASSERT_TRUE(waitUntil([&] { return tool.errors().starts_with("held\n"); })) << tool.errors();
        kill(tool.processId(), signal);
        usleep(20'000);
        ASSERT_TRUE(tool.isRunning()) << strsignal(signal);
        writeFile(directory / "until", "");
        ASSERT_TRUE(waitUntil([&] { return tool.errors().ends_with("given back\n"); })) << strsignal(signal);
        kill(tool.processId(), SIGCONT);
        EXPECT_EQ(tool.wait(), signal == SIGTSTP ? static_cast<int>(OxaResult::cObjectNotFound.code()) : 1000 + signal);
    }
}

/// Runs of the enquirer that a signal ends, or comes too late for, on a bus that has to go on undamaged.
class FaultOfTheEnquirer : public testing::TestWithParam<int>
{};

TEST_P(FaultOfTheEnquirer, EndedAtAnyMoment)
{
    // A shell has its background jobs ignore SIGINT, and these pass that on.
    std::signal(GetParam(), SIG_DFL);
    ChurningBus bus(2);
    const InProcessEnquirer enquirer;
    const TemporaryDirectory directory;
    const std::vector<std::string> words{ENQUIRER_BINARY, "-d", "-o", directory / "output", bus.name()};
    const ProgramOptions options{.environment = {{"DLT_PIPE_DIR", directory.path().string()}}};
    const auto begin = std::chrono::steady_clock::now();
    ASSERT_EQ(runProgram(words, options).status, 0);
    const auto whole = std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() - begin);
    RandomPauses pauses(static_cast<unsigned>(whole.count()));

    const int wanted = rounds(15, 500);
    int ended = 0;
    int holders = 0;
    int run = 0;
    for (; ended < wanted && run < 10 * wanted; ++run) {
        Program tool(words, options);
        pauses.pause();
        kill(tool.processId(), SIGSTOP);
        holders += bus.holder() == tool.processId();
        kill(tool.processId(), GetParam());
        kill(tool.processId(), SIGCONT);
        const int status = tool.wait();
        ASSERT_TRUE(status == 0 || status == 1000 + GetParam()) << status << tool.errors();
        ended += status != 0;
        ASSERT_TRUE(bus.goesOn()) << run;
        ASSERT_EQ(churnFaultIn(enquirer.report(bus.name()), bus.processes()), "");
    }
    EXPECT_EQ(ended, wanted);
    figures() << ended << " of " << run << " runs ended by " << strsignal(GetParam()) << ", " << holders
              << " while they held the mutex; " << bus.roundsDone() << " rounds of churn, the longest "
              << bus.longestRoundInMicroseconds() << " us\n";
}

INSTANTIATE_TEST_SUITE_P(Signals, FaultOfTheEnquirer, testing::Values(SIGKILL, SIGINT),
                         [](const auto& signal) { return signal.param == SIGKILL ? "Killed" : "Interrupted"; });

} // namespace
