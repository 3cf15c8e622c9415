#include "app/oxa_zunic_enquirer_app_main.h"

#include <fcntl.h>
#include <iostream>
#include <unistd.h>

namespace {

/// Gives a program that was started without standard streams empty ones; else a report file would become one of them,
/// and take what is printed.
void openStandardStreams()
{
    int descriptor = open("/dev/null", O_RDWR);
    while (descriptor >= 0 && descriptor <= STDERR_FILENO) {
        descriptor = dup(descriptor);
    }
    if (descriptor > STDERR_FILENO) {
        close(descriptor);
    }
}

} // namespace

int main(int argc, char** argv)
{
    openStandardStreams();
    try {
        return OxaZunicEnquirerAppMain(argc, argv);
    } catch (...) {
        std::cerr << "ERROR: Unhandled exception in main(), aborting!" << std::endl;
        return 1;
    }
}
