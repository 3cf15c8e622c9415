#include "stop_signals.h"

#include <poll.h>
#include <sys/signalfd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <system_error>

namespace ZunicDemo {

namespace {

sigset_t watchedSignals()
{
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGCHLD}) {
        sigaddset(&signals, signal);
    }
    return signals;
}

} // namespace

StopSignals::StopSignals()
{
    const sigset_t signals = watchedSignals();
    sigprocmask(SIG_BLOCK, &signals, nullptr);
    mSignals = Descriptor(signalfd(-1, &signals, SFD_CLOEXEC));
    if (mSignals.number() < 0) {
        throw std::system_error(errno, std::generic_category(), "cannot watch for signals");
    }
    // A reader of the standard output that goes away must not end the bus before it is taken down.
    std::signal(SIGPIPE, SIG_IGN);
}

void StopSignals::unblock()
{
    const sigset_t signals = watchedSignals();
    sigprocmask(SIG_UNBLOCK, &signals, nullptr);
    std::signal(SIGPIPE, SIG_DFL);
}

void StopSignals::consume() const
{
    signalfd_siginfo signal{};
    if (read(mSignals.number(), &signal, sizeof signal) == sizeof signal && signal.ssi_signo != SIGCHLD) {
        throw StopRequested();
    }
}

void StopSignals::waitForChild() const
{
    consume();
}

void StopSignals::waitForInput(int descriptor) const
{
    std::array<pollfd, 2> watched{{{descriptor, POLLIN, 0}, {mSignals.number(), POLLIN, 0}}};
    while (watched[0].revents == 0) {
        if (poll(watched.data(), watched.size(), -1) > 0 && watched[1].revents != 0) {
            consume();
        }
    }
}

} // namespace ZunicDemo
