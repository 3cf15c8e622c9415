#include "inspect/live/attachment.h"

#include <cerrno>

namespace Inspect {

Attachment attach(const std::string& name)
{
    oxa_zunic_communication_channel* handle = nullptr;
    const int error = oxa_zunic_communication_channel_create(name.c_str(), &handle);
    Attachment channel(handle);
    if (error != 0 || channel == nullptr || !oxa_zunic_communication_channel_is_initialized(handle)) {
        throw NoChannel("no usable channel \"" + name + "\"", error == ENOENT);
    }
    return channel;
}

} // namespace Inspect
