#include "churn.h"

#include "unless_full.h"

#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <system_error>
#include <thread>

namespace ZunicDemo {

using ZunicHosting::InstanceType;
using ZunicHosting::InterfaceDescription;
using ZunicHosting::LockedRegistry;
using ZunicHosting::SlotDescription;
using ZunicHosting::SlotState;

Churn::Churn(ZunicHosting::HostedChannel& channel, std::uint16_t communicatorId)
    : mChannel(&channel), mCommunicatorId(communicatorId)
{}

void Churn::runRound()
{
    LockedRegistry registry(*mChannel);
    if (mPairs.size() == cLivingPairs) {
        removeOldestPair(registry);
    }
    if (const std::optional<Pair> pair = addPair(registry)) {
        mPairs.push_back(*pair);
        ++mSequence;
    }
}

InterfaceDescription Churn::describe(InstanceType type) const
{
    InterfaceDescription description;
    description.interfaceName = churnName(getpid(), mSequence);
    description.roleName = churnRole(mSequence);
    description.domainName = cChurnDomain;
    description.type = type;
    description.version = churnVersion(mSequence);
    description.communicatorId = mCommunicatorId;
    return description;
}

std::optional<Churn::Pair> Churn::addPair(LockedRegistry& registry)
{
    const auto skeleton = unlessFull([&] { return registry.registerInterface(describe(InstanceType::skeleton)); });
    if (!skeleton) {
        return std::nullopt;
    }
    const auto stub = unlessFull([&] { return registry.registerInterface(describe(InstanceType::stub)); });
    if (!stub) {
        registry.unregisterInterface(*skeleton);
        return std::nullopt;
    }
    registry.connect(*skeleton, *stub);
    registry.connect(*stub, *skeleton);

    SlotDescription message;
    message.state = SlotState::message;
    message.senderId = *skeleton;
    message.receivers = {*stub};
    message.userDataSize = static_cast<std::uint32_t>(mSequence);
    const auto dataEntries = static_cast<std::uint32_t>(mSequence % 3);
    return Pair{*skeleton, *stub, unlessFull([&] { return registry.postMessage(message, dataEntries); })};
}

void Churn::removeOldestPair(LockedRegistry& registry)
{
    const Pair oldest = mPairs.front();
    mPairs.pop_front();
    if (oldest.message) {
        registry.releaseMessage(*oldest.message);
    }
    registry.unregisterInterface(oldest.skeleton);
    registry.unregisterInterface(oldest.stub);
}

void churnForever(Churn& churn, unsigned rate)
{
    using Clock = std::chrono::steady_clock;
    const Clock::duration pause = rate == 0 ? Clock::duration::zero() : Clock::duration(std::chrono::seconds(1)) / rate;
    for (Clock::time_point next = Clock::now();; next += pause) {
        try {
            churn.runRound();
        } catch (const std::system_error& error) {
            // Somebody holds the mutex for long. That is no reason to leave the bus: try again in the next round.
            if (error.code().value() != ETIMEDOUT) {
                throw;
            }
            next = Clock::now();
        }
        if (rate != 0) {
            std::this_thread::sleep_until(next + pause);
        }
    }
}

} // namespace ZunicDemo
