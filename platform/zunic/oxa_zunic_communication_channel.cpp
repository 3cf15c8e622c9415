#include "oxa/oxa_zunic_communication_channel.h"
#include "attached_channel.h"

#include <cerrno>
#include <memory>
#include <new>

namespace {

oxa_zunic_communication_channel* makeHandle(std::unique_ptr<AttachedChannel> attached)
{
    auto handle = std::make_unique<oxa_zunic_communication_channel>();
    handle->memory_dispatcher.memory_manager_count = attached->memoryManagerCount();
    handle->memory_dispatcher.memory_managers = attached->memoryManagers();
    handle->memory_dispatcher.channel = attached.get();
    handle->registry = attached->registry();
    handle->messages = attached->messages();
    handle->attached = attached.release();
    return handle.release();
}

} // namespace

int oxa_zunic_communication_channel_create(const char* name, oxa_zunic_communication_channel** channel)
{
    if (!channel) {
        return EINVAL;
    }
    *channel = nullptr;
    if (!name) {
        return EINVAL;
    }
    try {
        auto attached = std::make_unique<AttachedChannel>();
        if (const int result = attached->attach(name)) {
            return result;
        }
        *channel = makeHandle(std::move(attached));
        return 0;
    } catch (const std::bad_alloc&) {
        return ENOMEM;
    }
}

bool oxa_zunic_communication_channel_is_initialized(const oxa_zunic_communication_channel* channel)
{
    return channel && channel->attached->isInitialized();
}

void oxa_zunic_communication_channel_destroy(oxa_zunic_communication_channel* channel)
{
    if (!channel) {
        return;
    }
    delete channel->attached;
    delete channel;
}
