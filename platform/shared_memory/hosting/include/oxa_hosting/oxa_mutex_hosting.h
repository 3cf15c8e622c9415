#ifndef OXA_HOSTING_OXA_MUTEX_HOSTING_H
#define OXA_HOSTING_OXA_MUTEX_HOSTING_H

#include "oxa/oxa_mutex.h"

#include <stddef.h>
#include <stdint.h>

/// Bytes that a layout sets aside for a mutex.
constexpr uint32_t cOxaMutexSize = 48;

/// Nothing in it is an address: damage to it leads nobody into other memory.
struct oxa_mutex
{
    uint32_t word; // the kernel's priority-inheriting futex: the holder's thread id and two marks, 0 while free
    uint32_t unused[9];
    uint64_t marker;
};

static_assert(offsetof(oxa_mutex, marker) == 40);
static_assert(sizeof(oxa_mutex) == cOxaMutexSize);

extern "C" {

/// Makes a free mutex of the memory at `mutex`, which nobody may be using: 0, or EINVAL for null.
int oxa_mutex_initialize(oxa_mutex* mutex);
}

#endif
