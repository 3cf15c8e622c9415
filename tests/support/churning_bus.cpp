#include "support/churning_bus.h"

#include "churn.h"
#include "enquirer/oxa_zunic_enquirer.h"
#include "support/live_bus.h"
#include "support/text.h"

#include <algorithm>
#include <chrono>
#include <gtest/gtest.h>
#include <linux/futex.h>
#include <sys/mman.h>
#include <system_error>

namespace TestSupport {

using ZunicFormat::Registry;

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

pid_t ChurningBus::holder() const
{
    auto* const lockWord = reinterpret_cast<std::uint32_t*>(mChannel.registry() + offsetof(Registry, mutex));
    return static_cast<pid_t>(std::atomic_ref(*lockWord).load() & FUTEX_TID_MASK);
}

void ChurningBus::bury()
{
    const std::set<pid_t> alive = processes();
    auto& registry = *reinterpret_cast<Registry*>(mChannel.registry());
    ZunicHosting::LockedRegistry lock = mChannel.lock();
    std::set<std::uint16_t> deadCommunicators;
    for (const auto& entry : registry.communicators) {
        if (entry.communicatorId != ZunicHosting::cNoCommunicator &&
            !alive.contains(static_cast<pid_t>(entry.processId))) {
            deadCommunicators.insert(entry.communicatorId);
        }
    }
    std::set<std::uint16_t> senders;
    for (const auto& entry : registry.interfaces) {
        if (entry.state == 1 && deadCommunicators.contains(entry.communicatorId)) {
            lock.unregisterInterface(entry.interfaceId);
        } else if (entry.state == 1) {
            senders.insert(entry.interfaceId);
        }
    }
    for (const std::uint16_t communicator : deadCommunicators) {
        lock.unregisterCommunicator(communicator);
    }
    const auto* const slots = reinterpret_cast<ZunicFormat::MessageSlot*>(mChannel.messages());
    for (std::uint32_t i = 0; i < mChannel.messageSlots(); ++i) {
        if (!senders.contains(static_cast<std::uint16_t>(slots[i].stateAndSender >> ZunicFormat::cSlotStateBits))) {
            lock.writeSlot(i, {});
        }
    }
}

bool ChurningBus::goesOn()
{
    const auto isThrough = [this](std::size_t process, std::uint64_t before) {
        return waitUntil([&] { return mShared->rounds[process] > before; });
    };
    std::vector<std::uint64_t> before;
    for (std::size_t i = 0; i < mProcesses.size(); ++i) {
        before.push_back(mShared->rounds[i]);
    }
    for (std::size_t i = 0; i < mProcesses.size(); ++i) {
        if (!isThrough(i, before[i])) {
            return false;
        }
    }
    return mShared->failures == 0;
}

std::uint64_t ChurningBus::roundsDone() const
{
    std::uint64_t sum = 0;
    for (const auto& rounds : mShared->rounds) {
        sum += rounds;
    }
    return sum;
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
