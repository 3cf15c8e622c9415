// Loaded in front of the platform's library: gives the registry mutex back only when the file HOLD_UNTIL is there.

#include "oxa/oxa_mutex.h"

#include <cstdlib>
#include <dlfcn.h>
#include <iostream>
#include <unistd.h>

int oxa_mutex_unlock(oxa_mutex* mutex)
{
    std::cerr << "held" << std::endl;
    while (access(std::getenv("HOLD_UNTIL"), F_OK) != 0) {
        usleep(1000);
    }
    std::cerr << "given back" << std::endl;
    return reinterpret_cast<int (*)(oxa_mutex*)>(dlsym(RTLD_NEXT, "oxa_mutex_unlock"))(mutex);
}
