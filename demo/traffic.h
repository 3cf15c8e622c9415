#ifndef ZUNIC_DEMO_TRAFFIC_H
#define ZUNIC_DEMO_TRAFFIC_H

#include "process_description.h"
#include "scenario.h"
#include "traffic_memory.h"

#include "zunic_hosting/hosted_channel.h"

#include <cstdint>
#include <deque>
#include <optional>
#include <vector>

namespace ZunicDemo {

/// Sends and reads the messages of one process. All changes of the message storage, and the records of them, are made
/// with the registry mutex held, a message at a time.
class Traffic
{
public:
    /// Borrows both. Throws std::system_error.
    Traffic(ZunicHosting::HostedChannel& channel, const TrafficDescription& description);

    /// Goes on until the bus stops the traffic; does nothing if this process takes no part. Throws std::system_error.
    void run();

private:
    struct Sender
    {
        std::uint32_t flow;
        const FlowEntry* entry;
        std::vector<std::uint16_t> receivers;
        std::vector<std::uint32_t> processes; // each once
        std::uint64_t due;
        std::uint64_t messages = 0; // with those dropped
    };
    struct Receiver
    {
        std::uint32_t flow;
        const FlowReceiver* entry;
        std::deque<Mail> waiting = {};
        std::uint64_t due = cNever; // when it has read the first of them, or looks again whether it resumes
        std::uint64_t stopsAt = cNever;
        bool isStopped = false;
        std::uint64_t dropsAtStop = 0;
    };

    void addFlow(std::uint32_t flow, const FlowEntry& entry);
    std::uint64_t runDue();

    void sendBurst(Sender& sender);
    bool send(const Sender& sender);
    std::optional<std::uint32_t> post(ZunicHosting::LockedRegistry& registry, const Sender& sender) const;

    void fetchMails();
    void read(Receiver& receiver);
    void finishFirst(Receiver& receiver);
    static void beginNext(Receiver& receiver);
    void stopReading(Receiver& receiver);
    void resumeWhenFull(Receiver& receiver);

    ZunicHosting::HostedChannel* mChannel;
    TrafficMemory mMemory;
    std::uint32_t mProcess;
    std::uint32_t mMailsFetched = 0;
    std::vector<Sender> mSenders;
    std::vector<Receiver> mReceivers;
};

} // namespace ZunicDemo

#endif
