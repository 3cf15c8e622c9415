#ifndef TESTS_SUPPORT_ATTACHED_CHANNEL_H
#define TESTS_SUPPORT_ATTACHED_CHANNEL_H

#include "oxa/oxa_zunic_communication_channel.h"
#include "support/live_bus.h"
#include "zunic_hosting/hosted_channel.h"

#include <cstring>
#include <gtest/gtest.h>
#include <stdexcept>
#include <system_error>

namespace TestSupport {

/// The errno value that `operation` fails with; 0 when it does not fail, -1 for an argument that cannot be.
template <typename Operation>
int errorOf(Operation operation)
{
    try {
        operation();
        return 0;
    } catch (const std::system_error& error) {
        return error.code().value();
    } catch (const std::invalid_argument&) {
        return -1;
    }
}

template <typename Value>
Value valueAt(const void* base, std::size_t offset)
{
    Value value;
    std::memcpy(&value, static_cast<const std::byte*>(base) + offset, sizeof(value));
    return value;
}

/// A channel that this process hosts and, as the tool does it, is attached to.
class AttachedChannel : public testing::Test
{
protected:
    AttachedChannel(std::uint32_t messageSlots, const std::vector<ZunicHosting::MemoryManagerOptions>& memoryManagers)
        : mHost(ZunicHosting::HostedChannel::create(
              {.name = uniqueChannelName(), .messageSlots = messageSlots, .memoryManagers = memoryManagers}))
    {
        EXPECT_EQ(oxa_zunic_communication_channel_create(mHost.name().c_str(), &mHandle), 0);
    }
    ~AttachedChannel() override { oxa_zunic_communication_channel_destroy(mHandle); }

    std::byte* dispatcher() const { return reinterpret_cast<std::byte*>(mHandle) + 552; }
    const std::byte* registry() const { return valueAt<const std::byte*>(mHandle, 584); }
    const std::byte* messages() const { return valueAt<const std::byte*>(mHandle, 592); }

    ZunicHosting::HostedChannel mHost;
    oxa_zunic_communication_channel* mHandle = nullptr;
};

} // namespace TestSupport

#endif
