#include "support/live_bus.h"
#include "support/temporary_directory.h"

#include "channel/channel_layout.h"
#include "channel/registry_snapshot.h"
#include "churn.h"
#include "enquirer/oxa_zunic_enquirer.h"

#include <atomic>
#include <cstring>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <thread>

// Everything that processes do side by side on a channel, done by threads on one mapping of it: so a tool that watches
// the threads of one process sees what is not synchronised.

namespace {

/// The mapping that every handle of this process shows.
ZunicHosting::HostedChannel* sharedMapping = nullptr;

} // namespace

/// Stands in front of the platform's function, whose handles have a mapping of their own each.
extern "C" int oxa_zunic_communication_channel_create(const char* name, oxa_zunic_communication_channel** channel)
{
    using Create = int (*)(const char*, oxa_zunic_communication_channel**);
    const auto create = reinterpret_cast<Create>(dlsym(RTLD_NEXT, "oxa_zunic_communication_channel_create"));
    const int result = create(name, channel);
    if (result == 0) {
        auto* const handle = reinterpret_cast<std::byte*>(*channel);
        std::byte* const registry = sharedMapping->registry();
        std::byte* const messages = sharedMapping->messages();
        std::memcpy(handle + Channel::cHandleRegistryBase, &registry, sizeof registry);
        std::memcpy(handle + Channel::cHandleMessages, &messages, sizeof messages);
    }
    return result;
}

namespace {

TEST(Concurrency, ReportsAreWrittenWhileThreadsChurn)
{
    using namespace ZunicHosting;
    HostedChannel channel = HostedChannel::create({.name = TestSupport::uniqueChannelName(), .messageSlots = 32});
    sharedMapping = &channel;
    std::atomic<bool> isOver{false};
    const auto keepChurning = [&] {
        const auto id = channel.lock().registerCommunicator(static_cast<std::uint32_t>(getpid()));
        std::uint64_t rounds = 0;
        for (ZunicDemo::Churn churn(channel, id); !isOver; ++rounds) {
            churn.runRound();
        }
        EXPECT_GT(rounds, 0U);
    };
    std::thread threads[] = {std::thread(keepChurning), std::thread(keepChurning)};
    const TestSupport::TemporaryDirectory directory;
    testing::internal::CaptureStdout();
    int reports = 0;
    for (int i = 0; i < 50; ++i) {
        Oxa::OxaZunicEnquirer enquirer(directory / "output", true, true);
        EXPECT_TRUE(enquirer.init(channel.name()) == OxaResult::cOk);
        reports += enquirer.startEnquirer() == OxaResult::cOk;
        enquirer.cleanup();
    }
    isOver = true;
    for (std::thread& thread : threads) {
        thread.join();
    }
    testing::internal::GetCapturedStdout();
    EXPECT_GT(reports, 0);
}

} // namespace
