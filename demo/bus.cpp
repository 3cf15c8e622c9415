#include "bus.h"

#include "message_layout.h"
#include "process_description.h"
#include "truth.h"

#include <cerrno>
#include <cstdio>
#include <iterator>
#include <stdexcept>
#include <system_error>

namespace ZunicDemo {

namespace {

using ZunicHosting::HostedChannel;
using ZunicHosting::LockedRegistry;
using ZunicHosting::SlotState;

HostedChannel createChannel(const Scenario& scenario, std::optional<gid_t> group)
{
    ZunicHosting::ChannelOptions options;
    options.name = scenario.channel;
    options.messageSlots = scenario.messageSlots;
    options.memoryManagers = scenario.memoryManagers;
    options.group = group;
    try {
        return HostedChannel::create(options);
    } catch (const std::system_error& error) {
        if (error.code().value() == EEXIST) {
            throw std::runtime_error("channel " + scenario.channel + " is in use");
        }
        throw;
    }
}

} // namespace

Bus::Bus(const Scenario& scenario, std::optional<gid_t> group, const StopSignals& signals)
    : mSignals(&signals), mChannel(createChannel(scenario, group))
{
    startProcesses(scenario);
    connectInterfaces(scenario);
    takeBlocks(scenario);
    postMessages(scenario);
}

/// They start side by side and register in turn, so that the tables of the channel are the same in each run.
void Bus::startProcesses(const Scenario& scenario)
{
    passOnLibraryFolder();
    for (const ProcessEntry& process : scenario.processes) {
        mProcesses.emplace_back(mPrograms.named(process.name), scenario.channel);
    }
    auto entry = scenario.processes.begin();
    for (auto process = mProcesses.begin(); process != mProcesses.end(); ++entry) {
        process->registerAll(*entry, *mSignals);
        process = entry->leaves ? mProcesses.erase(process) : std::next(process);
    }
}

void Bus::connectInterfaces(const Scenario& scenario)
{
    LockedRegistry registry = mChannel.lock();
    for (const auto& [holder, receivers] : scenario.links) {
        for (const std::uint16_t receiver : idsOf(receivers)) {
            registry.connect(holder, receiver);
        }
    }
}

void Bus::takeBlocks(const Scenario& scenario)
{
    LockedRegistry registry = mChannel.lock();
    for (const BlocksEntry& blocks : scenario.blocks) {
        for (std::uint32_t i = 0; i < blocks.count; ++i) {
            registry.allocateBlock(blocks.memoryManager);
        }
    }
}

void Bus::postMessages(const Scenario& scenario)
{
    LockedRegistry registry = mChannel.lock();
    for (PlacedSlot& placed : layOutMessages(scenario)) {
        if (placed.external) {
            placed.slot.external = registry.allocateBlock(*placed.external);
        }
        registry.writeSlot(placed.index, placed.slot);
        if (placed.slot.state == SlotState::written || placed.slot.state == SlotState::message) {
            registry.setStorageHeader(placed.index, placed.slot.writerCounter);
        }
    }
}

void Bus::startChurn(unsigned rate)
{
    for (ParticipantProcess& process : mProcesses) {
        process.startChurn(rate);
    }
}

void Bus::startTraffic(const Scenario& scenario, bool isRecording)
{
    const std::uint16_t counter = mChannel.lock().writerCounter();
    mTraffic.emplace(static_cast<std::uint32_t>(mProcesses.size()), scenario.messageSlots, isRecording, counter);
    TrafficDescription description{.memory = mTraffic->path(), .flows = scenario.traffic};
    for (ParticipantProcess& process : mProcesses) {
        process.startTraffic(describeTraffic(description));
        ++description.process;
    }
}

void Bus::reportEnded()
{
    for (ParticipantProcess& process : mProcesses) {
        const pid_t id = process.id();
        if (process.hasEnded()) {
            std::fprintf(stderr, "zunic_demo_bus: process %s (%d) has ended\n", process.name().c_str(), id);
        }
    }
}

void Bus::run()
{
    try {
        for (;;) {
            reportEnded();
            mSignals->waitForChild();
        }
    } catch (const StopRequested&) {
        // The destructor of the bus takes everything down.
    }
}

void Bus::writeTruth(const Scenario& scenario, std::ostream& out)
{
    {
        const LockedRegistry registry = mChannel.lock();
        mTraffic->stop();
    }
    ZunicDemo::writeTruth(scenario, *mTraffic, out);
}

} // namespace ZunicDemo
