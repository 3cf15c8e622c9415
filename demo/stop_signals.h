#ifndef ZUNIC_DEMO_STOP_SIGNALS_H
#define ZUNIC_DEMO_STOP_SIGNALS_H

#include "descriptor.h"

#include <exception>

namespace ZunicDemo {

/// Thrown out of a wait when the program is told to stop, so that everything is taken down on the way.
class StopRequested : public std::exception
{
public:
    const char* what() const noexcept override { return "stopped"; }
};

/// SIGINT, SIGTERM, SIGHUP and SIGCHLD as something to wait for: from the construction on they are blocked in this
/// process. Child processes must call `unblock` before they run another program.
class StopSignals
{
public:
    /// Throws std::system_error.
    StopSignals();

    static void unblock();

    /// Waits until a child has ended. Throws StopRequested.
    void waitForChild() const;

    /// Waits until there is something to read from `descriptor`, or its other side is gone. Throws StopRequested.
    void waitForInput(int descriptor) const;

private:
    void consume() const;

    Descriptor mSignals;
};

} // namespace ZunicDemo

#endif
