// Damages a real channel as its input says, and runs the whole tool on it: attach, snapshot, queries, both reports.
// In one mode, zunic_inspect takes its state, samples its messages, and makes what its commands make of both.

#include "channel_damage.h"
#include "inspect_outputs.h"
#include "shortcuts.h"

#include "enquirer/oxa_zunic_enquirer.h"
#include "inspect/commands/traffic/traffic_report.h"
#include "inspect/live/message_sampler.h"
#include "inspect/live/take_state.h"
#include "zunic_hosting/hosted_channel.h"

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <iostream>
#include <sstream>
#include <unistd.h>
#include <utility>

using namespace ZunicHosting;

namespace {

/// A channel with a little of everything. It is small, because that is what makes it quick to report.
HostedChannel createChannel()
{
    ChannelOptions options;
    options.name = "fuzz" + std::to_string(getpid());
    options.messageSlots = 8;
    options.memoryManagers = {{.blockSize = 256, .initialBlocks = 2, .additionalBlocks = 2, .maximumBlocks = 4},
                              {.blockSize = 16, .initialBlocks = 1, .additionalBlocks = 1, .maximumBlocks = 2}};
    return HostedChannel::create(options);
}

void postMessages(LockedRegistry& registry, std::uint16_t sender, std::uint16_t receiver)
{
    SlotDescription message;
    message.state = SlotState::message;
    message.senderId = sender;
    message.receivers = {receiver, 70};
    message.userDataSize = 100;
    registry.postMessage(message, 3);
    message.state = SlotState::written;
    message.dataIndex = cExternalDataEntry;
    message.external = registry.allocateBlock(1);
    registry.postMessage(message, 0);
}

/// Returns where the function storage lies.
oxa_zunic_range_location fill(HostedChannel& channel)
{
    LockedRegistry registry = channel.lock();
    InterfaceDescription skeleton;
    skeleton.interfaceName = "Clock";
    skeleton.roleName = "Wall";
    skeleton.type = InstanceType::skeleton;
    skeleton.communicatorId = registry.registerCommunicator(static_cast<std::uint32_t>(getpid()));
    skeleton.functions = registry.publishFunctions({"getTime", "setTime"});
    InterfaceDescription stub = skeleton;
    stub.type = InstanceType::stub;
    stub.state = RegistrationState::preregistered;
    stub.functions = cNoLocation;
    const std::uint16_t holder = registry.registerInterface(skeleton);
    const std::uint16_t user = registry.registerInterface(stub);
    registry.connect(holder, user);
    postMessages(registry, user, holder);
    return skeleton.functions;
}

enum class Mode
{
    query,
    report,
    reportWithGraph,
    inspect ///< takes fifteen times as long as the others
};

Mode modeOf(std::uint8_t byte)
{
    return byte >= 0xF0 ? Mode::inspect : static_cast<Mode>(byte % 3);
}

OxaResult query(Oxa::OxaZunicEnquirer& enquirer)
{
    return enquirer.matchInterface("Clock", "Wall", "local", true, Oxa::eInterfaceInstanceTypeStub, true,
                                   OxaZunic::eOxaZunicRegistrationStatePreregistered);
}

void makeTrafficOutputs(const Inspect::Traffic& traffic)
{
    std::ostringstream text;
    for (const Inspect::By by : {Inspect::By::eSender, Inspect::By::eReceiver, Inspect::By::ePair}) {
        writeTrafficText(text, traffic, by, {}, {});
    }
    writeTrafficJson(text, traffic, {});
    requirePlain(text.str());
}

/// Takes the state and samples the messages before and after the late damages, if there is a usable channel.
void inspectAround(const std::string& channel, const std::function<void()>& damage)
{
    std::function<void()> dueDamage = damage;
    try {
        Inspect::MessageSampler sampler(channel);
        Inspect::Traffic traffic{channel, {}, {}, {}, Inspect::Tally(true)};
        Inspect::Sample sample;
        sampler.take(sample);
        traffic.mTally.add(sample);
        const Inspect::BusState before = takeState(channel, Inspect::Wanted::everything());
        std::exchange(dueDamage, [] {})();
        sampler.take(sample);
        traffic.mTally.add(sample);
        const Inspect::BusState now = takeState(channel, Inspect::Wanted::everything());
        traffic.mParties.add(now);
        makeTrafficOutputs(traffic);
        makeOutputs(before, now);
    } catch (const Inspect::NoChannel&) {
        dueDamage();
    }
}

/// Runs the tool on one channel, damaged differently for each run.
class Harness
{
public:
    Harness()
        : mChannel(createChannel()),
          mDamagedChannel(mChannel.bytes(), fill(mChannel)),
          mOutputDirectory("/dev/shm/" + mChannel.name())
    {
        // Nobody reads the reports.
        std::filesystem::create_directory(mOutputDirectory);
        for (const char* name :
             {"messages.txt", "interfaces_communicators_info.txt", "interfaces_communicators_info.dot"}) {
            std::filesystem::create_symlink("/dev/null", mOutputDirectory + "/" + name);
        }
    }

    ~Harness() { std::filesystem::remove_all(mOutputDirectory); }

    Harness(const Harness&) = delete;
    Harness& operator=(const Harness&) = delete;

    OxaResult run(Mode mode, std::span<const std::uint8_t> damages)
    {
        mDamagedChannel.apply(damages, false);
        if (Shortcuts::keepAttachment) {
            Shortcuts::keepAttachment(mDamagedChannel.isGeometrySound());
        }
        Oxa::OxaZunicEnquirer enquirer(mOutputDirectory, false, mode == Mode::reportWithGraph);
        OxaResult result = enquirer.init(mChannel.name());
        if (result == OxaResult::cOk) {
            const auto damage = [&] { mDamagedChannel.apply(damages, true); };
            mode == Mode::inspect ? inspectAround(mChannel.name(), damage) : damage();
            const bool isReport = mode == Mode::report || mode == Mode::reportWithGraph;
            result = isReport ? enquirer.startEnquirer() : query(enquirer);
        }
        enquirer.cleanup();
        mDamagedChannel.restore();
        return result;
    }

private:
    HostedChannel mChannel;
    DamagedChannel mDamagedChannel;
    std::string mOutputDirectory;
};

Harness& harness()
{
    static Harness instance;
    return instance;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/)
{
    // A harness that fails on a sound channel would find nothing in damaged ones.
    for (const Mode mode : {Mode::query, Mode::report, Mode::reportWithGraph, Mode::inspect}) {
        if (harness().run(mode, {}) != OxaResult::cOk) {
            std::cerr << "The tool fails on the undamaged channel." << std::endl;
            std::abort();
        }
    }
    return 0;
}

/// The first byte is the mode, damages follow.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size > 0) {
        harness().run(modeOf(data[0]), {data + 1, size - 1});
    }
    return 0;
}
