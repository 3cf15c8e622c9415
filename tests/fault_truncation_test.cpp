#include "support/inspect.h"
#include "support/live_bus.h"
#include "support/soak.h"
#include "support/stepped_child.h"

#include "inspect/cli/command_line.h"
#include "inspect/commands.h"
#include "inspect/live/bus_follower.h"
#include "inspect/live/truncation_guard.h"
#include "zunic_hosting/hosted_channel.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <random>
#include <set>

using Inspect::BusFollower;
using Inspect::NoChannel;
using Inspect::Wanted;
using testing::Contains;
using testing::IsSubsetOf;
using namespace std::chrono_literals;

namespace {

/// How a look at a channel that is truncated can end; exit statuses of children.
enum Ending : int
{
    eWhole,
    eUnusable,
    eTruncated
};

Ending endingOf(const NoChannel& trouble)
{
    const bool isTruncated = std::string(trouble.what()).ends_with(" was truncated while it was being read");
    EXPECT_TRUE(!isTruncated || trouble.isMissing());
    return isTruncated ? eTruncated : eUnusable;
}

Ending look(const std::string& channel)
{
    try {
        takeState(channel, Wanted::everything());
        return eWhole;
    } catch (const NoChannel& trouble) {
        return endingOf(trouble);
    }
}

/// The object of a channel with something of everything, which nobody has mapped.
class TruncatableObject
{
public:
    TruncatableObject() : mBytes(bytesOfAChannel()), mName(TestSupport::uniqueChannelName()) { restore(); }
    ~TruncatableObject() { std::filesystem::remove(path()); }

    TruncatableObject(const TruncatableObject&) = delete;
    TruncatableObject& operator=(const TruncatableObject&) = delete;

    const std::string& channel() const { return mName; }
    std::size_t size() const { return mBytes.size(); }

    void restore() const { TestSupport::writeFile(path(), mBytes); }
    void truncate(std::size_t size) const { std::filesystem::resize_file(path(), size); }

private:
    static std::string bytesOfAChannel()
    {
        using ZunicHosting::HostedChannel;
        HostedChannel host = HostedChannel::create(
            {.name = TestSupport::uniqueChannelName(), .messageSlots = 4096, .memoryManagers = {{}}});
        fill(host.lock());
        return TestSupport::readFile(pathOf(host.name()));
    }

    static void fill(ZunicHosting::LockedRegistry&& lock)
    {
        const auto communicator = lock.registerCommunicator(static_cast<std::uint32_t>(getpid()));
        lock.registerInterface({.interfaceName = "Clock",
                                .type = ZunicHosting::InstanceType::skeleton,
                                .communicatorId = communicator,
                                .functions = lock.publishFunctions({"now", "alarm"})});
        for (int message = 0; message < 1000; ++message) {
            lock.postMessage({.senderId = communicator}, 3);
        }
    }

    static std::string pathOf(const std::string& channel) { return "/dev/shm/zunic." + channel; }
    std::string path() const { return pathOf(mName); }

    std::string mBytes;
    std::string mName;
};

TEST(TruncatedObject, EndsALookWithACleanFailureAtWhicheverSystemCallItHappens)
{
    const TruncatableObject object;
    ASSERT_EQ(look(object.channel()), eWhole);
    for (const std::size_t size : {std::size_t{0}, std::size_t{4096}, object.size() / 2}) {
        std::set<int> endings;
        bool isBeforeTheEnd = true;
        for (int stop = 0; isBeforeTheEnd; ++stop) {
            object.restore();
            const auto [isStopped, ending] = TestSupport::actAtStop(
                stop, [&] { return static_cast<int>(look(object.channel())); },
                [&](TestSupport::ForkedChild&) { object.truncate(size); });
            isBeforeTheEnd = isStopped;
            endings.insert(ending);
        }
        EXPECT_THAT(endings, IsSubsetOf({eWhole, eUnusable, eTruncated})) << size;
        EXPECT_THAT(endings, Contains(eTruncated)) << size;
    }
}

TEST(TruncatedObject, AtAnyMomentIsToAFollowerAChannelThatHasGone)
{
    const TruncatableObject object;
    std::mt19937 random(1); // NOLINT(cert-msc51-cpp): the same moments in each run, as far as that goes.
    std::uniform_int_distribution<std::size_t> sizes(0, object.size() - 1);
    std::uniform_int_distribution<int> pauses(0, 3000);
    const int rounds = TestSupport::rounds(50, 2000);
    int inTheMiddle = 0;
    for (int round = 0; round < rounds; ++round) {
        object.restore();
        TestSupport::Gate gate;
        TestSupport::ForkedChild child([&] {
            BusFollower follower(object.channel(),
                                 round % 2 == 0 ? BusFollower::Past::eRemembered : BusFollower::Past::eForgotten);
            follower.look({.mFunctions = true, .mMemoryManagers = true});
            const bool isRead = follower.now() != nullptr;
            gate.open();
            while (follower.now() != nullptr) {
                follower.look(round % 2 == 0 ? Wanted{.mFunctions = true, .mMemoryManagers = true}
                                             : Wanted::everything());
            }
            return isRead ? static_cast<int>(endingOf(*follower.trouble())) : 100;
        });
        gate.await();
        usleep(static_cast<useconds_t>(pauses(random)));
        object.truncate(sizes(random));
        const int ending = child.wait();
        EXPECT_THAT(ending, testing::AnyOf(eUnusable, eTruncated));
        inTheMiddle += ending == eTruncated ? 1 : 0;
    }
    TestSupport::figures() << inTheMiddle << " of " << rounds << " truncations in the middle of a look\n";
}

TEST(TruncatedObject, LeavesOtherBusErrorsAlone)
{
    TestSupport::ForkedChild sent([] {
        const Inspect::TruncationGuard guard;
        return raise(SIGBUS);
    });
    EXPECT_EQ(sent.wait(), 1000 + SIGBUS);
}

TEST(TruncatedObject, MakesTheProgramReportIt)
{
    const TruncatableObject object;
    std::set<std::string> complaints;
    bool isBeforeTheEnd = true;
    const TestSupport::TemporaryDirectory directory;
    const std::string errors = directory / "errors";
    const auto list = [&] {
        std::string words[] = {"zunic_inspect", "list", "-c", object.channel()};
        char* arguments[] = {words[0].data(), words[1].data(), words[2].data(), words[3].data(), nullptr};
        return std::freopen(errors.c_str(), "w", stderr) != nullptr && std::freopen("/dev/null", "w", stdout) != nullptr
                   ? static_cast<int>(Inspect::runCommandLine(4, arguments, Inspect::commands()))
                   : 100;
    };
    for (int stop = 0; isBeforeTheEnd; ++stop) {
        object.restore();
        const auto [isStopped, status] =
            TestSupport::actAtStop(stop, list, [&](TestSupport::ForkedChild&) { object.truncate(0); });
        isBeforeTheEnd = isStopped;
        EXPECT_THAT(status, testing::AnyOf(TestSupport::eYes, TestSupport::eNoChannel)) << stop;
        complaints.insert(TestSupport::readFile(errors));
    }
    const std::string channel = "channel \"" + object.channel() + "\"";
    EXPECT_THAT(complaints, testing::UnorderedElementsAre("", "zunic_inspect: no usable " + channel + "\n",
                                                          "zunic_inspect: " + channel +
                                                              " was truncated while it was being read\n"));
}

} // namespace
