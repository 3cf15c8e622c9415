#ifndef ZUNIC_DEMO_BUS_H
#define ZUNIC_DEMO_BUS_H

#include "participant_process.h"
#include "participant_programs.h"
#include "scenario.h"
#include "stop_signals.h"
#include "traffic_memory.h"

#include "zunic_hosting/hosted_channel.h"

#include <list>
#include <optional>
#include <ostream>
#include <sys/types.h>

namespace ZunicDemo {

/// A channel with everything on it that a scenario asks for. Taken down on destruction: the processes first, the
/// channel last.
class Bus
{
public:
    /// Borrows `signals`. Throws std::exception with the reason when something cannot be set up, StopRequested.
    Bus(const Scenario& scenario, std::optional<gid_t> group, const StopSignals& signals);

    /// Has every process that stays churn, with `rate` rounds a second; 0: as fast as it can.
    void startChurn(unsigned rate);

    /// Has the processes send and read the messages of the scenario. With `isRecording`, `writeTruth` can be called.
    void startTraffic(const Scenario& scenario, bool isRecording);

    /// Serves until the program is told to stop. Says on standard error which processes end before that.
    void run();

    /// Stops the traffic, and writes what was sent. Throws std::system_error.
    void writeTruth(const Scenario& scenario, std::ostream& out);

private:
    void startProcesses(const Scenario& scenario);
    void connectInterfaces(const Scenario& scenario);
    void takeBlocks(const Scenario& scenario);
    void postMessages(const Scenario& scenario);
    void reportEnded();

    const StopSignals* mSignals;
    ZunicHosting::HostedChannel mChannel;
    ParticipantPrograms mPrograms;
    std::list<ParticipantProcess> mProcesses;
    std::optional<TrafficMemory> mTraffic;
};

} // namespace ZunicDemo

#endif
