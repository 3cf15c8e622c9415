#ifndef SECOND_PROVIDER_OXA_ZUNIC_COMMUNICATION_CHANNEL_H
#define SECOND_PROVIDER_OXA_ZUNIC_COMMUNICATION_CHANNEL_H

struct oxa_zunic_communication_channel;
extern "C" int oxa_zunic_communication_channel_create(const char* name, oxa_zunic_communication_channel** channel);
extern "C" bool oxa_zunic_communication_channel_is_initialized(const oxa_zunic_communication_channel* channel);
extern "C" void oxa_zunic_communication_channel_destroy(oxa_zunic_communication_channel* channel);

#endif
