#include "app/oxa_zunic_enquirer_app_main.h"
#include "channel/snapshot_memory.h"

#include <dlt/dlt_common.h>
#include <fcntl.h>
#include <iostream>
#include <syslog.h>
#include <unistd.h>

#pragma weak dlt_log_set_level // Not every version of the library has it.

namespace {

/// Gives a program that was started without standard streams empty ones; else a report file would become one of them,
/// and take what is printed.
void openStandardStreams()
{
    int descriptor = 0;
    do {
        descriptor = open("/dev/null", O_RDWR);
    } while (descriptor >= 0 && descriptor <= STDERR_FILENO);
    close(descriptor);
}

} // namespace

int main(int argc, char** argv)
{
    openStandardStreams();
    if (dlt_log_set_level != nullptr) {
        dlt_log_set_level(LOG_ERR); // Else the library tells of itself on standard output.
    }
    try {
        const Channel::SnapshotMemory memory;
        return OxaZunicEnquirerAppMain(argc, argv);
    } catch (...) {
        std::cerr << "ERROR: Unhandled exception in main(), aborting!" << std::endl;
        return 1;
    }
}
