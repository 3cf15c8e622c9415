#include "oxa/oxa_zunic_communication_channel.h"
#include "support/forked_child.h"
#include "support/live_bus.h"
#include "zunic_hosting/hosted_channel.h"

#include <cerrno>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <system_error>

using namespace ZunicHosting;
using TestSupport::ForkedChild;
using TestSupport::Gate;
using TestSupport::uniqueChannelName;

namespace {

ChannelOptions channelNamed(const std::string& name)
{
    return {.name = name, .messageSlots = 2, .memoryManagers = {{8, 1, 1, 2}}};
}

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
        pause();
        return 0;
    });
    ASSERT_TRUE(isUp.await());
    EXPECT_EQ(errorOf([&] { HostedChannel::create(channelNamed(name)); }), EEXIST) << "its host is alive";
    host.send(SIGKILL);
    EXPECT_EQ(host.wait(), TestSupport::cKilled);
}

} // namespace

TEST(HostedChannel, isRemovedWithItsCreatorAlone)
{
    const std::string name = uniqueChannelName();
    {
        HostedChannel created = HostedChannel::create(channelNamed(name));
        EXPECT_EQ(created.name(), name);
        {
            const HostedChannel attached = HostedChannel::attach(name);
        }
        EXPECT_TRUE(exists(name));
        ForkedChild child([&] {
            const HostedChannel inherited = std::move(created);
            return 0;
        });
        EXPECT_EQ(child.wait(), 0);
        EXPECT_TRUE(exists(name));
        EXPECT_EQ(errorOf([&] { HostedChannel::create(channelNamed(name)); }), EEXIST);
        const HostedChannel moved = std::move(created);
        EXPECT_TRUE(exists(name));
    }
    EXPECT_FALSE(exists(name));
}

TEST(HostedChannel, replacesOneWhoseHostDied)
{
    const std::string name = uniqueChannelName();
    leaveStaleChannel(name);
    HostedChannel onOldOne = HostedChannel::attach(name);
    HostedChannel created = HostedChannel::create(channelNamed(name));
    onOldOne.lock().registerInterface({"Old"});
    HostedChannel onNewOne = HostedChannel::attach(name);
    EXPECT_EQ(onNewOne.lock().registerInterface({"New"}), 0) << "the table is a new one";
}

TEST(HostedChannel, replacesADebrisOfAnyKind)
{
    const std::string name = uniqueChannelName();
    const int descriptor = shm_open(("/zunic." + name).c_str(), O_RDWR | O_CREAT | O_EXCL, S_IRUSR | S_IWUSR);
    EXPECT_EQ(errorOf([&] { HostedChannel::attach(name); }), EBADMSG);
    const HostedChannel channel = HostedChannel::create(channelNamed(name));
    EXPECT_EQ(errorOf([&] { HostedChannel::attach(name); }), 0);
    close(descriptor);
}

TEST(HostedChannel, goesToOneOfManyThatTryAtOnce)
{
    for (int round = 0; round < 20; ++round) {
        const std::string name = uniqueChannelName();
        leaveStaleChannel(name);
        const Gate start;
        const Gate tried;
        const Gate finish;
        std::vector<ForkedChild> children;
        children.reserve(4);
        for (int i = 0; i < 4; ++i) {
            children.emplace_back([&] {
                std::optional<HostedChannel> channel;
                start.await();
                const int error = errorOf([&] { channel = HostedChannel::create(channelNamed(name)); });
                tried.open();
                finish.await();
                return error;
            });
        }
        for (std::size_t i = 0; i < children.size(); ++i) {
            start.open();
        }
        for (std::size_t i = 0; i < children.size(); ++i) {
            EXPECT_TRUE(tried.await());
        }
        EXPECT_TRUE(exists(name));
        std::vector<int> results;
        results.reserve(children.size());
        for (std::size_t i = 0; i < children.size(); ++i) {
            finish.open();
        }
        for (ForkedChild& child : children) {
            results.push_back(child.wait());
        }
        EXPECT_THAT(results, testing::UnorderedElementsAre(0, EEXIST, EEXIST, EEXIST));
    }
}

TEST(HostedChannel, isOpenToItsOwnerOrItsGroupWhateverTheUmask)
{
    for (const mode_t mask : {mode_t{0}, mode_t{0777}}) {
        for (const std::optional<gid_t> group : {std::optional<gid_t>(), std::optional<gid_t>(getgid())}) {
            ChannelOptions options = channelNamed(uniqueChannelName());
            options.group = group;
            const mode_t previous = umask(mask);
            const HostedChannel channel = HostedChannel::create(options);
            umask(previous);
            struct stat status = {};
            EXPECT_EQ(stat(("/dev/shm/zunic." + options.name).c_str(), &status), 0);
            EXPECT_EQ(status.st_mode & 0777U, group ? 0660U : 0600U);
        }
    }
}

TEST(HostedChannel, refusesImpossibleOptionsAndLeavesNothingBehind)
{
    const ChannelOptions possible = channelNamed(uniqueChannelName());
    const auto errorWith = [&](auto change) {
        ChannelOptions options = possible;
        change(options);
        return errorOf([&] { HostedChannel::create(options); });
    };
    EXPECT_EQ(errorWith([](auto& options) { options.name = "a/b"; }), -1);
    EXPECT_EQ(errorWith([](auto& options) { options.name = ""; }), -1);
    EXPECT_EQ(errorWith([](auto& options) { options.messageSlots = cNoDataEntry; }), -1);
    EXPECT_EQ(errorWith([](auto& options) { options.memoryManagers = {{0, 1, 1, 1}}; }), -1);
    EXPECT_EQ(errorWith([](auto& options) { options.memoryManagers = {{8, 2, 1, 1}}; }), -1);
    EXPECT_EQ(errorWith([](auto& options) { options.memoryManagers = {{8, 2, 1, 2049}}; }), -1);
    EXPECT_EQ(errorWith([](auto& options) { options.memoryManagers.resize(65536); }), -1);
    // More than there is memory: it fails here and now, not at the first store to a page that cannot be had.
    EXPECT_EQ(errorWith([](auto& options) {
                  options.memoryManagers.assign(1000, {UINT32_MAX, 1, 1, cMaximumBlocksPerManager});
              }),
              ENOSPC);
    EXPECT_FALSE(exists(possible.name));
    EXPECT_EQ(errorWith([](auto& options) {
                  options.messageSlots = 0;
                  options.memoryManagers.clear();
              }),
              0);
}

TEST(HostedChannel, cannotBeAttachedToBeforeItIsReady)
{
    const HostedChannel channel = HostedChannel::create(channelNamed(uniqueChannelName()));
    constexpr std::size_t cInitializedOffset = 24;
    channel.bytes()[cInitializedOffset] = std::byte{0};
    EXPECT_EQ(errorOf([&] { HostedChannel::attach(channel.name()); }), EAGAIN);
    channel.bytes()[cInitializedOffset] = std::byte{1};
    EXPECT_EQ(errorOf([&] { HostedChannel::attach(channel.name()); }), 0);
}
