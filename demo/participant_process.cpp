#include "participant_process.h"

#include "process_description.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <stdexcept>
#include <system_error>

namespace ZunicDemo {

namespace {

[[noreturn]] void failToStart(const std::string& name)
{
    throw std::system_error(errno, std::generic_category(), "cannot start process " + name);
}

std::array<Descriptor, 2> connectedSockets(const std::string& name)
{
    std::array<int, 2> sockets{};
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, sockets.data()) != 0) {
        failToStart(name);
    }
    return {Descriptor(sockets[0]), Descriptor(sockets[1])};
}

} // namespace

ParticipantProcess::ParticipantProcess(const std::filesystem::path& program, const std::string& channelName)
    : mName(program.filename())
{
    auto [own, others] = connectedSockets(mName);
    const pid_t host = getpid();
    mId = fork();
    if (mId < 0) {
        failToStart(mName);
    }
    if (mId == 0) {
        start(program, channelName, others.number(), host);
        _exit(127);
    }
    mConnection = LineChannel(std::move(own));
}

/// Runs in the child; returns only after it has told the host why the program cannot run.
void ParticipantProcess::start(const std::filesystem::path& program, const std::string& channelName, int socket,
                               pid_t host) const
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    // The host may have died before that; nobody would send the signal then.
    if (getppid() != host) {
        return;
    }
    StopSignals::unblock();
    dup2(socket, STDIN_FILENO);
    fcntl(STDIN_FILENO, F_SETFD, 0); // where the socket was that descriptor already, dup2 leaves it close-on-exec
    execl(program.c_str(), mName.c_str(), channelName.c_str(), static_cast<char*>(nullptr));
    const std::string reason = LineChannel::cFailed + (program.string() + ": ") + std::strerror(errno) + "\n";
    static_cast<void>(send(socket, reason.data(), reason.size(), MSG_NOSIGNAL));
}

ParticipantProcess::~ParticipantProcess()
{
    if (mId > 0) {
        kill(mId, SIGKILL);
        waitForEnd();
    }
}

void ParticipantProcess::registerAll(const ProcessEntry& process, const StopSignals& signals)
{
    try {
        mConnection.send(describeProcess(process));
    } catch (const std::system_error&) {
        // It has ended; its last message explains more.
    }
    signals.waitForInput(mConnection.descriptor());
    const std::optional<std::string> answer = mConnection.receive();
    if (!answer) {
        throw std::runtime_error("process " + mName + " ended before it had registered");
    }
    if (*answer != LineChannel::cRegistered) {
        throw std::runtime_error("process " + mName +
                                 " cannot register: " + answer->substr(std::strlen(LineChannel::cFailed)));
    }
    if (process.leaves) {
        waitForEnd();
    }
}

void ParticipantProcess::startChurn(unsigned rate)
{
    mConnection.send(LineChannel::cChurn + std::to_string(rate));
}

void ParticipantProcess::startTraffic(const std::string& description)
{
    mConnection.send(LineChannel::cTraffic + description);
}

bool ParticipantProcess::hasEnded()
{
    if (mId < 0 || waitpid(mId, nullptr, WNOHANG) != mId) {
        return false;
    }
    mId = -1;
    return true;
}

void ParticipantProcess::waitForEnd()
{
    while (waitpid(mId, nullptr, 0) < 0 && errno == EINTR) {
    }
    mId = -1;
}

} // namespace ZunicDemo
