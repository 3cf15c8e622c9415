#ifndef INSPECT_LIVE_TRUNCATION_GUARD_H
#define INSPECT_LIVE_TRUNCATION_GUARD_H

#include <csignal>
#include <string>

namespace Inspect {

/// Keeps the program alive while it reads a channel whose object another process may truncate: what is no longer there
/// is read as zeros, and `hasStruck` is true from then on. One at a time, in one thread. Without it, such an access
/// ends the program with SIGBUS.
class TruncationGuard
{
public:
    TruncationGuard();
    ~TruncationGuard();

    TruncationGuard(const TruncationGuard&) = delete;
    TruncationGuard& operator=(const TruncationGuard&) = delete;

    /// Whether the object was truncated: what has been read since this guard was made is of no use.
    bool hasStruck() const;
    /// Throws NoChannel if it was.
    void requireWhole(const std::string& channel) const;

private:
    struct sigaction mBefore = {};
};

} // namespace Inspect

#endif
