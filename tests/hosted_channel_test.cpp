#include "support/error_of.h"
#include "support/live_bus.h"
#include "zunic_hosting/hosted_channel.h"

#include <cerrno>
#include <gmock/gmock.h>

using namespace ZunicHosting;

namespace {

int errorOfCreating(const ChannelOptions& options)
{
    return TestSupport::errorOf([&] { HostedChannel::create(options); });
}

bool exists(const std::string& channel)
{
    return TestSupport::errorOf([&] { HostedChannel::attach(channel); }) != ENOENT;
}

} // namespace

TEST(AHostedChannel, refusesImpossibleOptionsAndLeavesNothingBehind)
{
    const std::string name = TestSupport::uniqueChannelName();
    const std::vector<MemoryManagerOptions> tooMany(65536, {1, 0, 0, 0});
    const std::vector<MemoryManagerOptions> tooLarge(1000, {UINT32_MAX, 1, 1, cMaximumBlocksPerManager});
    const std::pair<int, ChannelOptions> cases[] = {
        {-1, {"a/b"}},
        {-1, {name, cNoDataEntry}},
        {-1, {name, 1, {{8, 2, 1, 1}}}},
        {-1, {name, 1, {{8, 2, 1, 2049}}}},
        {-1, {name, 1, tooMany}},
        // It fails here and now, not at the first store to a page that cannot be had.
        {ENOSPC, {name, 1, tooLarge}},
    };
    for (const auto& [error, options] : cases) {
        EXPECT_EQ(errorOfCreating(options), error) << "case " << &error - &cases[0].first;
        EXPECT_FALSE(exists(name));
    }
}
