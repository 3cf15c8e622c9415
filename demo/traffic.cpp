#include "traffic.h"

#include "unless_full.h"

#include <sys/prctl.h>

#include <algorithm>
#include <cerrno>
#include <system_error>

namespace ZunicDemo {

using ZunicHosting::LockedRegistry;
using ZunicHosting::SlotDescription;

namespace {

constexpr std::uint64_t cLookAgain = 5'000'000;
/// A sender that is further behind leaves out what it has missed.
constexpr std::uint64_t cMostBehind = 1'000'000'000;

std::uint64_t later(std::uint64_t time, std::uint64_t duration)
{
    return duration == cNever ? cNever : time + duration;
}

} // namespace

Traffic::Traffic(ZunicHosting::HostedChannel& channel, const TrafficDescription& description)
    : mChannel(&channel), mMemory(description.memory), mProcess(description.process)
{
    std::uint32_t index = 0;
    for (const FlowEntry& flow : description.flows) {
        addFlow(index++, flow);
    }
}

void Traffic::addFlow(std::uint32_t flow, const FlowEntry& entry)
{
    if (entry.process == mProcess) {
        Sender sender{.flow = flow, .entry = &entry, .receivers = {}, .processes = {}, .due = 0};
        for (const FlowReceiver& receiver : entry.receivers) {
            sender.receivers.push_back(receiver.interface);
            sender.processes.push_back(receiver.process);
        }
        std::ranges::sort(sender.processes);
        sender.processes.erase(std::unique(sender.processes.begin(), sender.processes.end()), sender.processes.end());
        // Not all at the same time: flow 1 begins after a half of its period, flow 2 after two thirds, and so on.
        sender.due = mMemory.start() + entry.period / (flow + 1) * flow;
        mSenders.push_back(std::move(sender));
    }
    for (const FlowReceiver& receiver : entry.receivers) {
        if (receiver.process == mProcess) {
            mReceivers.push_back(
                {.flow = flow, .entry = &receiver, .stopsAt = later(mMemory.start(), receiver.stopsAfter)});
        }
    }
}

void Traffic::run()
{
    if (mSenders.empty() && mReceivers.empty()) {
        return;
    }
    prctl(PR_SET_TIMERSLACK, 1); // of 1 ns: many messages are read in a shorter time than the default of 50 us
    while (!mMemory.isStopped()) {
        fetchMails();
        const std::uint64_t next = runDue();
        if (next > monotonicNow()) {
            mMemory.waitForMail(mProcess, mMailsFetched, next);
        }
    }
}

/// Does all that is due, and returns when there is more.
std::uint64_t Traffic::runDue()
{
    std::uint64_t next = monotonicNow() + cMostBehind;
    try {
        for (Sender& sender : mSenders) {
            if (sender.due <= monotonicNow()) {
                sendBurst(sender);
            }
            next = std::min(next, sender.due);
        }
        for (Receiver& receiver : mReceivers) {
            if (receiver.due <= monotonicNow()) {
                read(receiver);
            }
            next = std::min(next, receiver.due);
        }
    } catch (const std::system_error& error) {
        // Somebody holds the mutex for long. That is no reason to leave the bus: all that is not done is still due.
        if (error.code().value() != ETIMEDOUT) {
            throw;
        }
        return 0;
    }
    return next;
}

void Traffic::sendBurst(Sender& sender)
{
    for (std::uint64_t i = 0; i < sender.entry->burst && sender.messages < sender.entry->limit; ++i) {
        if (!send(sender)) {
            return;
        }
        ++sender.messages;
    }
    if (sender.messages == sender.entry->limit) {
        sender.due = cNever;
        return;
    }
    sender.due += sender.entry->period;
    if (sender.due + cMostBehind < monotonicNow()) {
        sender.due = monotonicNow();
    }
}

/// False when the traffic is over.
bool Traffic::send(const Sender& sender)
{
    {
        LockedRegistry registry(*mChannel);
        if (mMemory.isStopped()) {
            return false;
        }
        TrafficRecord record{.sent = monotonicNow(), .flow = sender.flow};
        const std::optional<std::uint32_t> slot = post(registry, sender);
        if (!slot) {
            mMemory.add(record);
            return true;
        }
        record.slot = *slot;
        record.counter = mMemory.count(registry.writerCounter());
        const Mail mail{.record = mMemory.add(record), .sent = record.sent, .slot = *slot, .flow = sender.flow};
        for (const std::uint32_t process : sender.processes) {
            mMemory.deliver(process, mail);
        }
    }
    for (const std::uint32_t process : sender.processes) {
        mMemory.ring(process);
    }
    return true;
}

/// Returns the slot; absent when there is no room for the message.
std::optional<std::uint32_t> Traffic::post(LockedRegistry& registry, const Sender& sender) const
{
    SlotDescription message;
    message.state = ZunicHosting::SlotState::message;
    message.senderId = sender.entry->sender;
    message.receivers = sender.receivers;
    message.userDataSize = sender.entry->userDataSize;
    if (sender.entry->external == cNoMemoryManager) {
        return unlessFull([&] { return registry.postMessage(message, sender.entry->dataEntries); });
    }
    const auto block = unlessFull([&] { return registry.allocateBlock(sender.entry->external); });
    if (!block) {
        return std::nullopt;
    }
    message.dataIndex = ZunicHosting::cExternalDataEntry;
    message.external = *block;
    const auto slot = unlessFull([&] { return registry.postMessage(message, 0); });
    if (!slot) {
        registry.freeBlock(*block);
    }
    return slot;
}

void Traffic::fetchMails()
{
    for (const std::uint32_t count = mMemory.mailCount(mProcess); mMailsFetched != count; ++mMailsFetched) {
        const Mail mail = mMemory.mail(mProcess, mMailsFetched);
        for (Receiver& receiver : mReceivers) {
            if (receiver.flow != mail.flow) {
                continue;
            }
            if (receiver.waiting.empty() && !receiver.isStopped) {
                receiver.due = mail.sent + receiver.entry->readingTime;
            }
            receiver.waiting.push_back(mail);
        }
    }
}

void Traffic::read(Receiver& receiver)
{
    if (receiver.isStopped) {
        resumeWhenFull(receiver);
    } else {
        finishFirst(receiver);
    }
}

void Traffic::finishFirst(Receiver& receiver)
{
    const Mail mail = receiver.waiting.front();
    {
        LockedRegistry registry(*mChannel);
        if (mMemory.isStopped()) {
            return;
        }
        if (registry.finishReading(mail.slot, receiver.entry->interface)) {
            mMemory.setFreed(mail.record);
        }
    }
    receiver.waiting.pop_front();
    if (receiver.stopsAt <= monotonicNow()) {
        stopReading(receiver);
    } else {
        beginNext(receiver);
    }
}

void Traffic::beginNext(Receiver& receiver)
{
    receiver.due = receiver.waiting.empty()
                       ? cNever
                       : std::max(receiver.waiting.front().sent, monotonicNow()) + receiver.entry->readingTime;
}

void Traffic::stopReading(Receiver& receiver)
{
    receiver.isStopped = true;
    receiver.dropsAtStop = mMemory.drops();
    receiver.due = receiver.entry->resumesAfter == cNever ? cNever : monotonicNow() + cLookAgain;
}

void Traffic::resumeWhenFull(Receiver& receiver)
{
    const std::uint64_t now = monotonicNow();
    if (receiver.stopsAt == cNever) { // the storage has been full for long enough
        receiver.isStopped = false;
        receiver.stopsAt = now + receiver.entry->stopsAfter;
        beginNext(receiver);
    } else if (mMemory.drops() == receiver.dropsAtStop) {
        receiver.due = now + cLookAgain;
    } else {
        receiver.stopsAt = cNever;
        receiver.due = now + receiver.entry->resumesAfter;
    }
}

} // namespace ZunicDemo
