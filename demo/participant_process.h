#ifndef ZUNIC_DEMO_PARTICIPANT_PROCESS_H
#define ZUNIC_DEMO_PARTICIPANT_PROCESS_H

#include "line_channel.h"
#include "scenario.h"
#include "stop_signals.h"

#include <sys/types.h>

#include <filesystem>
#include <string>

namespace ZunicDemo {

/// A child process that runs the participant program. It dies with the process that started it, at the latest.
class ParticipantProcess
{
public:
    /// Starts it. Throws std::system_error.
    ParticipantProcess(const std::filesystem::path& program, const std::string& channelName);

    /// Kills and reaps it.
    ~ParticipantProcess();

    ParticipantProcess(const ParticipantProcess&) = delete;
    ParticipantProcess& operator=(const ParticipantProcess&) = delete;

    const std::string& name() const { return mName; }
    pid_t id() const { return mId; }

    /// Has it register everything of `process`, and waits for that; when it is to leave, until it is reaped.
    /// Throws std::runtime_error with the reason when it cannot, StopRequested.
    void registerAll(const ProcessEntry& process, const StopSignals& signals);

    /// Has it churn, with `rate` rounds a second. Throws std::system_error.
    void startChurn(unsigned rate);

    /// Has it take its part in the traffic. Throws std::system_error.
    void startTraffic(const std::string& description);

    /// Whether it has ended by itself since the last call; it is reaped then.
    bool hasEnded();

private:
    void start(const std::filesystem::path& program, const std::string& channelName, int socket, pid_t host) const;
    void waitForEnd();

    std::string mName;
    pid_t mId = -1; // -1 once it is reaped
    LineChannel mConnection{Descriptor()};
};

} // namespace ZunicDemo

#endif
