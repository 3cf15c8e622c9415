#include "support/error_of.h"
#include "support/forked_child.h"
#include "support/live_bus.h"
#include "zunic_hosting/hosted_channel.h"

#include <array>
#include <cerrno>
#include <gmock/gmock.h>
#include <set>

using namespace ZunicHosting;
using TestSupport::ForkedChild;
using TestSupport::Gate;

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

TEST(AHostedChannel, isRemovedWithItsCreatorAlone)
{
    const std::string name = TestSupport::uniqueChannelName();
    {
        HostedChannel created = HostedChannel::create({name});
        HostedChannel::attach(name);
        EXPECT_TRUE(exists(name));
        ForkedChild child([&] {
            const HostedChannel inherited = std::move(created);
            return 0;
        });
        EXPECT_EQ(child.wait(), 0);
        const HostedChannel moved = std::move(created);
        EXPECT_TRUE(exists(name));
    }
    EXPECT_FALSE(exists(name));
}

TEST(AHostedChannel, goesToOneOfManyWhenItsHostHasDied)
{
    const ChannelOptions options{TestSupport::uniqueChannelName()};
    for (int round = 0; round < 20; ++round) {
        const Gate start;
        const Gate done;
        const Gate finish;
        const auto host = [&] {
            start.await();
            const int error = TestSupport::errorOf([&] {
                const HostedChannel channel = HostedChannel::create(options);
                done.open();
                finish.await();
            });
            done.open();
            return error;
        };
        {
            const ForkedChild killed(host);
            start.open();
            ASSERT_TRUE(done.await());
            EXPECT_EQ(errorOfCreating(options), EEXIST);
        }
        std::array hosts{ForkedChild(host), ForkedChild(host), ForkedChild(host)};
        for (std::size_t i = 0; i < hosts.size(); ++i) {
            start.open();
        }
        for (std::size_t i = 0; i < hosts.size(); ++i) {
            ASSERT_TRUE(done.await());
        }
        EXPECT_TRUE(exists(options.name));
        finish.open();
        EXPECT_EQ((std::multiset{hosts[0].wait(), hosts[1].wait(), hosts[2].wait()}),
                  (std::multiset{0, EEXIST, EEXIST}));
    }
}

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
