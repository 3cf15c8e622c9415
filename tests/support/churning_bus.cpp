#include "support/churning_bus.h"

#include "churn.h"
#include "enquirer/oxa_zunic_enquirer.h"
#include "support/live_bus.h"
#include "support/text.h"

#include <algorithm>
#include <chrono>
#include <gtest/gtest.h>
#include <iterator>
#include <linux/futex.h>
#include <numeric>
#include <sys/mman.h>
#include <system_error>

namespace TestSupport {

ChurningBus::ChurningBus(std::size_t processes)
    : mChannel(ZunicHosting::HostedChannel::create({.name = uniqueChannelName(), .messageSlots = 64})),
      mShared(static_cast<Shared*>(
          mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0)))
{
    for (std::size_t i = 0; i < processes; ++i) {
        mProcesses.emplace_back([this, i] { return churn(mShared->rounds[i]); });
    }
    EXPECT_TRUE(goesOn());
}

ChurningBus::~ChurningBus()
{
    mProcesses.clear();
    munmap(mShared, sizeof(Shared));
}

ForkedChild ChurningBus::startVictim()
{
    return ForkedChild([this] { return churn(mShared->rounds[cMaximumProcesses]); });
}

int ChurningBus::churn(std::atomic<std::uint64_t>& rounds)
{
    using Clock = std::chrono::steady_clock;
    const auto id = mChannel.lock().registerCommunicator(static_cast<std::uint32_t>(getpid()));
    ZunicDemo::Churn churn(mChannel, id);
    for (;; ++rounds) {
        const Clock::time_point begin = Clock::now();
        try {
            churn.runRound();
        } catch (const std::exception&) {
            ++mShared->failures;
        }
        const auto took = std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - begin).count();
        mShared->longestRound = std::max(mShared->longestRound.load(), static_cast<std::uint64_t>(took));
    }
}

std::set<pid_t> ChurningBus::processes() const
{
    std::set<pid_t> ids;
    for (const ForkedChild& process : mProcesses) {
        ids.insert(process.processId());
    }
    return ids;
}

void ChurningBus::end() const
{
    for (const ForkedChild& process : mProcesses) {
        process.end();
    }
}

pid_t ChurningBus::holder() const
{
    auto* const lockWord =
        reinterpret_cast<std::uint32_t*>(mChannel.registry() + offsetof(ZunicFormat::Registry, mutex));
    return static_cast<pid_t>(std::atomic_ref(*lockWord).load() & FUTEX_TID_MASK);
}

bool ChurningBus::goesOn()
{
    for (std::size_t i = 0; i < mProcesses.size(); ++i) {
        const std::uint64_t before = mShared->rounds[i];
        if (!waitUntil([&] { return mShared->rounds[i] > before; })) {
            return false;
        }
    }
    return mShared->failures == 0;
}

std::uint64_t ChurningBus::roundsDone() const
{
    return std::accumulate(std::begin(mShared->rounds), std::end(mShared->rounds), std::uint64_t{0});
}

std::string InProcessEnquirer::report(const std::string& channelName) const
{
    const std::string output = mDirectory / "output";
    bool isWritten = false;
    printedBy([&] {
        Oxa::OxaZunicEnquirer enquirer(output, false, false);
        isWritten = enquirer.init(channelName) == OxaResult::cOk && enquirer.startEnquirer() == OxaResult::cOk;
        enquirer.cleanup();
    });
    EXPECT_TRUE(isWritten);
    return isWritten ? readFile(output + "/interfaces_communicators_info.txt") : "";
}

} // namespace TestSupport
