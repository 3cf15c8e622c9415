#include "zunic_hosting/hosted_channel.h"
#include "failures.h"
#include "hosted_object.h"

namespace ZunicHosting {

HostedChannel HostedChannel::create(const ChannelOptions& options)
{
    auto object = std::make_unique<HostedObject>(options.name);
    object->create(options);
    return HostedChannel(std::move(object));
}

HostedChannel HostedChannel::attach(const std::string& name)
{
    auto object = std::make_unique<HostedObject>(name);
    object->attach();
    return HostedChannel(std::move(object));
}

HostedChannel::HostedChannel(std::unique_ptr<HostedObject> object) : mObject(std::move(object)) {}

HostedChannel::HostedChannel(HostedChannel&& other) noexcept = default;
HostedChannel& HostedChannel::operator=(HostedChannel&& other) noexcept = default;
HostedChannel::~HostedChannel() = default;

const std::string& HostedChannel::name() const
{
    return mObject->channelName();
}

LockedRegistry HostedChannel::lock()
{
    return LockedRegistry(*this);
}

std::span<std::byte> HostedChannel::bytes() const
{
    return mObject->bytes();
}

std::byte* HostedChannel::registry() const
{
    return reinterpret_cast<std::byte*>(&mObject->registry());
}

std::byte* HostedChannel::messages() const
{
    return reinterpret_cast<std::byte*>(mObject->slots().data());
}

std::uint32_t HostedChannel::messageSlots() const
{
    return static_cast<std::uint32_t>(mObject->slots().size());
}

LockedRegistry::LockedRegistry(HostedChannel& channel) : mObject(*channel.mObject)
{
    if (const int error = oxa_mutex_lock(mObject.mutex())) {
        fail(error, "cannot lock the registry of channel '" + mObject.channelName() + "'");
    }
}

LockedRegistry::~LockedRegistry()
{
    oxa_mutex_unlock(mObject.mutex());
}

} // namespace ZunicHosting
