#ifndef OXA_HOSTING_OXA_MUTEX_HOSTING_H
#define OXA_HOSTING_OXA_MUTEX_HOSTING_H

#include "oxa/oxa_mutex.h"

#include <pthread.h>
#include <stdint.h>

/// Bytes that a layout sets aside for a mutex.
constexpr uint32_t cOxaMutexSize = 48;

struct oxa_mutex
{
    pthread_mutex_t mutex;
    uint64_t marker;
};

static_assert(sizeof(oxa_mutex) <= cOxaMutexSize);

extern "C" {

/// Makes a free mutex of the memory at `mutex`, which nobody may be using: 0, or an errno value.
int oxa_mutex_initialize(oxa_mutex* mutex);
}

#endif
