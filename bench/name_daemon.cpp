#include "name_daemon.h"

#include <csignal>
#include <dbus/dbus.h>
#include <fcntl.h>
#include <fstream>
#include <spawn.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace Bench {

namespace {

void writeConfiguration(const std::string& file, const std::string& address, int names)
{
    std::ofstream(file) << "<busconfig><listen>" << address << "</listen><auth>EXTERNAL</auth>"
                        << "<policy context='default'><allow user='*'/><allow own='*'/><allow send_destination='*'/>"
                        << "<allow eavesdrop='false'/></policy>"
                        << "<limit name='max_names_per_connection'>" << names + 1 << "</limit></busconfig>\n";
}

DBusConnection* connect(const std::string& address)
{
    for (int tries = 0; tries < 1000; ++tries) {
        if (DBusConnection* const connection = dbus_connection_open_private(address.c_str(), nullptr)) {
            dbus_connection_set_exit_on_disconnect(connection, FALSE);
            return connection;
        }
        usleep(10'000);
    }
    throw std::runtime_error("dbus-daemon does not come up");
}

} // namespace

NameDaemon::NameDaemon(const std::string& folder, int names) : mAddress("unix:path=" + folder + "/bus")
{
    std::string configuration = folder + "/bus.conf";
    writeConfiguration(configuration, mAddress, names);
    std::string words[] = {"dbus-daemon", "--nofork", "--config-file=" + configuration};
    char* const arguments[] = {words[0].data(), words[1].data(), words[2].data(), nullptr};
    // It complains there that it is not allowed as many descriptors as it would like.
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
    const int error = posix_spawnp(&mDaemon, "dbus-daemon", &actions, nullptr, arguments, environ);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) {
        throw std::runtime_error("cannot start dbus-daemon");
    }
    mHolder = connect(mAddress);
    bool isHeld = dbus_bus_register(mHolder, nullptr);
    for (int i = 0; i < names && isHeld; ++i) {
        isHeld = dbus_bus_request_name(mHolder, name(i).c_str(), 0, nullptr) == DBUS_REQUEST_NAME_REPLY_PRIMARY_OWNER;
    }
    if (!isHeld) {
        throw std::runtime_error("cannot hold names on dbus-daemon");
    }
}

NameDaemon::~NameDaemon()
{
    dbus_connection_close(mHolder);
    dbus_connection_unref(mHolder);
    kill(mDaemon, SIGTERM);
    waitpid(mDaemon, nullptr, 0);
}

std::string NameDaemon::name(int number)
{
    return "vehicle.platform.zone" + std::to_string(number) + ".AnInterfaceNameAsLongAsTheyBecomeInALargeSystem";
}

} // namespace Bench
