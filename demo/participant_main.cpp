#include "churn.h"
#include "line_channel.h"
#include "process_description.h"
#include "traffic.h"

#include "zunic_hosting/hosted_channel.h"

#include <sys/socket.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <unistd.h>

namespace {

using namespace ZunicDemo;
using ZunicHosting::HostedChannel;
using ZunicHosting::LockedRegistry;

void registerInterface(LockedRegistry& registry, const InterfaceEntry& interface, std::uint16_t communicatorId)
{
    ZunicHosting::InterfaceDescription description;
    description.id = interface.id;
    description.interfaceName = interface.name;
    description.roleName = interface.role;
    description.domainName = interface.domain;
    description.type = interface.type;
    description.version = interface.version;
    description.state = interface.state;
    description.communicatorId = communicatorId;
    if (!interface.functions.empty()) {
        description.functions = registry.publishFunctions(interface.functions);
    }
    registry.registerInterface(description);
}

void registerProcess(HostedChannel& channel, const ProcessEntry& process)
{
    LockedRegistry registry = channel.lock();
    for (const CommunicatorEntry& communicator : process.communicators) {
        const std::uint16_t id =
            registry.registerCommunicator(static_cast<std::uint32_t>(getpid()), communicator.id, communicator.state);
        for (const InterfaceEntry& interface : communicator.interfaces) {
            registerInterface(registry, interface, id);
        }
    }
}

/// Stays on the bus until the host goes, churning or sending and reading when the host says so.
void stay(LineChannel& host, HostedChannel& channel, const ProcessEntry& process)
{
    const std::string churn = LineChannel::cChurn;
    const std::string trafficOf = LineChannel::cTraffic;
    while (const std::optional<std::string> line = host.receive()) {
        if (line->starts_with(churn) && !process.communicators.empty()) {
            Churn rounds(channel, process.communicators.front().id);
            churnForever(rounds, static_cast<unsigned>(std::stoul(line->substr(churn.size()))));
        }
        if (line->starts_with(trafficOf)) {
            const TrafficDescription description = readTrafficDescription(line->substr(trafficOf.size()));
            Traffic(channel, description).run();
        }
    }
}

void takePart(LineChannel& host, const std::string& channelName)
{
    HostedChannel channel = HostedChannel::attach(channelName);
    const std::optional<std::string> description = host.receive();
    if (!description) {
        return;
    }
    const ProcessEntry process = readProcessDescription(*description);
    registerProcess(channel, process);
    host.send(LineChannel::cRegistered);
    if (!process.leaves) {
        stay(host, channel, process);
    }
}

bool isSocket(int descriptor)
{
    int type = 0;
    socklen_t length = sizeof type;
    return getsockopt(descriptor, SOL_SOCKET, SO_TYPE, &type, &length) == 0;
}

} // namespace

int main(int argumentCount, char** arguments)
{
    if (argumentCount != 2 || !isSocket(STDIN_FILENO)) {
        std::fputs("This program is a process of a demo bus and is started by zunic_demo_bus.\n", stderr);
        return EXIT_FAILURE;
    }
    LineChannel host{Descriptor(STDIN_FILENO)};
    try {
        takePart(host, arguments[1]);
        return EXIT_SUCCESS;
    } catch (const std::exception& error) {
        try {
            host.send(std::string(LineChannel::cFailed) + error.what());
        } catch (const std::exception&) {
            // Nobody is left to be told.
        }
        return EXIT_FAILURE;
    }
}
