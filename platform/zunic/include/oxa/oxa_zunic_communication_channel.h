#ifndef OXA_OXA_ZUNIC_COMMUNICATION_CHANNEL_H
#define OXA_OXA_ZUNIC_COMMUNICATION_CHANNEL_H

#include <stdbool.h>

/// A channel that this process is attached to. At byte 552 of the handle lies the channel's memory dispatcher, at 584
/// the address of the registry region, at 592 the address of the message array; the rest is the library's own.
typedef struct oxa_zunic_communication_channel oxa_zunic_communication_channel;

#ifdef __cplusplus
extern "C" {
#endif

/// Attaches to the existing channel `name` and puts its handle, owned by the caller, into `channel`: 0, or an errno
/// value with `channel` set to null. Never creates a channel. ENOENT: no such channel. EACCES: no permission.
/// EINVAL: no possible channel name. EBADMSG: an object of that name is not a channel, is cut short, or has
/// holes. EREMOTE: the channel's host is in another PID namespace. ENOENT also where /proc does not tell the namespace
/// of this process. EWOULDBLOCK: somebody has a lease on the object. The channel is mapped read-only, but for the
/// memory page that holds the registry mutex.
int oxa_zunic_communication_channel_create(const char* name, oxa_zunic_communication_channel** channel);

/// True when the channel's host had finished setting it up before `channel` was attached.
bool oxa_zunic_communication_channel_is_initialized(const oxa_zunic_communication_channel* channel);

/// Detaches, and frees the handle with everything mapped through it. Null is ignored.
void oxa_zunic_communication_channel_destroy(oxa_zunic_communication_channel* channel);

#ifdef __cplusplus
}
#endif

#endif
