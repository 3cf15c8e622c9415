#include "support/attached_channel.h"
#include "support/forked_child.h"

#include <algorithm>
#include <cerrno>
#include <gmock/gmock.h>
#include <sys/stat.h>

using namespace ZunicHosting;
using TestSupport::errorOf;
using TestSupport::ForkedChild;
using TestSupport::Gate;
using TestSupport::uniqueChannelName;

namespace {

ChannelOptions channelNamed(const std::string& name)
{
    return {.name = name, .messageSlots = 2, .memoryManagers = {{8, 1, 1, 2}}};
}

int errorOfCreating(const ChannelOptions& options)
{
    return errorOf([&] { HostedChannel::create(options); });
}

bool exists(const std::string& channel)
{
    return errorOf([&] { HostedChannel::attach(channel); }) != ENOENT;
}

/// Leaves what a host leaves that is killed.
void leaveStaleChannel(const std::string& name)
{
    const Gate isUp;
    ForkedChild host([&] {
        const HostedChannel channel = HostedChannel::create(channelNamed(name));
        isUp.open();
        return pause();
    });
    ASSERT_TRUE(isUp.await());
    EXPECT_EQ(errorOfCreating(channelNamed(name)), EEXIST) << "its host is alive";
    host.send(SIGKILL);
    EXPECT_EQ(host.wait(), TestSupport::cKilled);
}

} // namespace

TEST(HostedChannel, isRemovedWithItsCreatorAlone)
{
    const std::string name = uniqueChannelName();
    {
        HostedChannel created = HostedChannel::create(channelNamed(name));
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

TEST(HostedChannel, goesToOneOfManyWhenItsHostHasDied)
{
    constexpr int cCreators = 4;
    const auto forEachCreator = [](auto action) {
        for (int i = 0; i < cCreators; ++i) {
            action();
        }
    };
    for (int round = 0; round < 20; ++round) {
        const std::string name = uniqueChannelName();
        leaveStaleChannel(name);
        const Gate start;
        const Gate tried;
        const Gate finish;
        const auto tryToCreate = [&] {
            std::optional<HostedChannel> channel;
            start.await();
            const int error = errorOf([&] { channel = HostedChannel::create(channelNamed(name)); });
            tried.open();
            finish.await();
            return error;
        };
        std::vector<ForkedChild> children;
        children.reserve(cCreators);
        forEachCreator([&] { children.emplace_back(tryToCreate); });
        forEachCreator([&] { start.open(); });
        forEachCreator([&] { EXPECT_TRUE(tried.await()); });
        EXPECT_TRUE(exists(name));
        forEachCreator([&] { finish.open(); });
        std::vector<int> results;
        std::ranges::transform(children, std::back_inserter(results), &ForkedChild::wait);
        EXPECT_THAT(results, testing::UnorderedElementsAre(0, EEXIST, EEXIST, EEXIST));
    }
}

TEST(HostedChannel, isOpenToItsOwnerOrItsGroupWhateverTheUmask)
{
    for (const std::optional<gid_t> group : {std::optional<gid_t>(), std::optional<gid_t>(getgid())}) {
        const mode_t previous = umask(group ? 0777 : 0);
        const HostedChannel channel = HostedChannel::create({.name = uniqueChannelName(), .group = group});
        umask(previous);
        struct stat status = {};
        EXPECT_EQ(stat(("/dev/shm/zunic." + channel.name()).c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 0777U, group ? 0660U : 0600U);
    }
}

TEST(HostedChannel, refusesImpossibleOptionsAndLeavesNothingBehind)
{
    const std::string name = uniqueChannelName();
    const std::vector<MemoryManagerOptions> tooMany(65536, {1, 0, 0, 0});
    const std::vector<MemoryManagerOptions> tooLarge(1000, {UINT32_MAX, 1, 1, cMaximumBlocksPerManager});
    const std::pair<int, ChannelOptions> cases[] = {
        {-1, channelNamed("a/b")},
        {-1, channelNamed("")},
        {-1, {name, cNoDataEntry}},
        {-1, {name, 1, {{0, 1, 1, 1}}}},
        {-1, {name, 1, {{8, 2, 1, 1}}}},
        {-1, {name, 1, {{8, 2, 1, 2049}}}},
        {-1, {name, 1, tooMany}},
        // It fails here and now, not at the first store to a page that cannot be had.
        {ENOSPC, {name, 1, tooLarge}},
        {0, {name, 0, {}}},
    };
    for (const auto& [error, options] : cases) {
        EXPECT_EQ(errorOfCreating(options), error) << "case " << &error - &cases[0].first;
        EXPECT_FALSE(exists(name));
    }
}
