#ifndef BENCH_NAME_DAEMON_H
#define BENCH_NAME_DAEMON_H

#include <string>
#include <sys/types.h>

struct DBusConnection;

namespace Bench {

/// A D-Bus daemon of its own, on a socket in `folder`, with `names` names held by one connection. Up from construction
/// to destruction. Throws std::runtime_error when it does not come up.
class NameDaemon
{
public:
    NameDaemon(const std::string& folder, int names);
    ~NameDaemon();

    NameDaemon(const NameDaemon&) = delete;
    NameDaemon& operator=(const NameDaemon&) = delete;

    const std::string& address() const { return mAddress; }

    static std::string name(int number);

private:
    std::string mAddress;
    pid_t mDaemon = -1;
    DBusConnection* mHolder = nullptr;
};

} // namespace Bench

#endif
