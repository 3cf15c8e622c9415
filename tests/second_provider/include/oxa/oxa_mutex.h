#ifndef SECOND_PROVIDER_OXA_MUTEX_H
#define SECOND_PROVIDER_OXA_MUTEX_H

struct oxa_mutex;
extern "C" int oxa_mutex_lock(oxa_mutex* mutex);
extern "C" int oxa_mutex_unlock(oxa_mutex* mutex);

#endif
