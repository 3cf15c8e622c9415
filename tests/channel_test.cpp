#include "oxa/oxa_zunic_communication_channel.h"
#include "support/error_of.h"
#include "support/forked_child.h"
#include "support/live_bus.h"
#include "zunic_hosting/channel_format.h"
#include "zunic_hosting/hosted_channel.h"

#include <cerrno>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sstream>
#include <sys/stat.h>

using TestSupport::ForkedChild;
using TestSupport::Gate;
using TestSupport::readFile;
using TestSupport::uniqueChannelName;
using ZunicFormat::Area;
using ZunicFormat::Superblock;
using ZunicHosting::HostedChannel;

namespace {

HostedChannel createChannel(const std::string& name = uniqueChannelName())
{
    return HostedChannel::create({.name = name, .messageSlots = 8, .memoryManagers = {{64, 2, 1, 4}, {4096, 1, 0, 1}}});
}

std::string objectOf(const std::string& channel)
{
    return "/dev/shm/zunic." + channel;
}

/// The content of a channel's object.
std::string imageOfAChannel()
{
    return readFile(objectOf(createChannel().name()));
}

/// The errno value of an attempt to attach; an attempt that fails has to leave no handle.
int attach(const char* name)
{
    auto* channel = reinterpret_cast<oxa_zunic_communication_channel*>(&name);
    const int result = oxa_zunic_communication_channel_create(name, &channel);
    EXPECT_EQ(channel == nullptr, result != 0);
    if (result == 0) {
        oxa_zunic_communication_channel_destroy(channel);
    }
    return result;
}

/// The same for an object with that content, which lies where a channel would.
int attachTo(const std::string& image)
{
    const std::string name = uniqueChannelName();
    TestSupport::writeFile(objectOf(name), image);
    const int result = attach(name.c_str());
    std::filesystem::remove(objectOf(name));
    return result;
}

/// The numbers in a channel that a process goes by when it attaches.
struct Numbers
{
    explicit Numbers(std::string& image)
        : plan(*reinterpret_cast<Superblock*>(image.data())),
          slots(reinterpret_cast<ZunicFormat::Registry*>(&image[plan.registry.offset])->messageStorage.storageSize),
          entries(reinterpret_cast<ZunicFormat::MemoryManagerEntry*>(&image[plan.memoryManagers.offset])),
          first(entries[0].record.manager),
          second(entries[1].record.manager)
    {}

    Superblock& plan;
    std::uint32_t& slots;
    ZunicFormat::MemoryManagerEntry* entries;
    oxa_memory_manager& first;
    oxa_memory_manager& second;
};

constexpr std::pair<const char*, void (*)(const Numbers&)> cDamages[] = {
    {"magic", [](auto& in) { ++in.plan.magic; }},
    {"version", [](auto& in) { ++in.plan.version; }},
    {"object size", [](auto& in) { --in.plan.objectSize; }},
    {"pools over managers", [](auto& in) { in.plan.pools.offset = in.plan.memoryManagers.offset + 8; }},
    {"one manager more", [](auto& in) { ++in.plan.memoryManagerCount; }},
    {"all managers", [](auto& in) { in.plan.memoryManagerCount = UINT32_MAX; }},
    {"one slot more", [](auto& in) { ++in.slots; }},
    // 448 times this is 0 in 32 bits.
    {"slots overflow", [](auto& in) { in.slots = 1U << 31; }},
    {"pool over pool", [](auto& in) { in.entries[1].poolOffset = in.entries[0].poolOffset; }},
    {"pool before pools", [](auto& in) { in.entries[0].poolOffset -= 8; }},
    {"pool behind pools", [](auto& in) { in.entries[1].poolOffset += 1; }},
    {"pool nowhere", [](auto& in) { in.entries[1].poolOffset = UINT64_MAX - 4095; }},
    {"block size 0", [](auto& in) { in.first.block_size = 0; }},
    {"block size", [](auto& in) { ++in.second.block_size; }},
    // 4 blocks of this size are 0 bytes in 64 bits.
    {"block size overflow", [](auto& in) { in.first.block_size = std::uint64_t{1} << 62; }},
    {"maximum", [](auto& in) { ++in.second.maximum_blocks; }},
    // They fit into the pools, but not into the map of the blocks in use.
    {"2049 blocks", [](auto& in) { in.second.block_size = 1, in.second.maximum_blocks = 2049; }},
};

} // namespace

TEST(AttachingToAChannel, refusesImpossibleNamesAndArguments)
{
    const std::string longest = uniqueChannelName() + std::string(249 - uniqueChannelName().size(), 'x');
    for (const std::string& name : {std::string(), std::string("a/b"), longest + "x"}) {
        EXPECT_EQ(attach(name.c_str()), EINVAL) << name;
    }
    EXPECT_EQ(attach(nullptr), EINVAL);
    EXPECT_EQ(oxa_zunic_communication_channel_create("name", nullptr), EINVAL);
    EXPECT_FALSE(oxa_zunic_communication_channel_is_initialized(nullptr));
    oxa_zunic_communication_channel_destroy(nullptr);

    EXPECT_EQ(attach(longest.c_str()), ENOENT);
    EXPECT_EQ(attach(longest.c_str()), ENOENT) << "the first attempt has created it";
    const HostedChannel channel = createChannel(longest);
    EXPECT_EQ(attach(longest.c_str()), 0);
}

TEST(AttachingToAChannel, refusesWhatIsNoWholeChannel)
{
    const std::string whole = imageOfAChannel();
    EXPECT_EQ(attachTo(whole), 0);
    for (const std::size_t size : {std::size_t{0}, sizeof(Superblock) - 1, sizeof(Superblock), whole.size() - 1}) {
        EXPECT_EQ(attachTo(whole.substr(0, size)), EBADMSG) << size;
    }
    EXPECT_EQ(attachTo(whole + '\0'), EBADMSG);
    EXPECT_EQ(attachTo(std::string(whole.size(), '\xFF')), EBADMSG);

    const std::string name = uniqueChannelName();
    ASSERT_EQ(mkfifo(objectOf(name).c_str(), S_IRUSR | S_IWUSR), 0);
    EXPECT_EQ(attach(name.c_str()), EBADMSG);
    std::filesystem::remove(objectOf(name));
}

TEST(AttachingToAChannel, refusesHolesAndWaitsForNoLease)
{
    const std::string name = uniqueChannelName();
    TestSupport::writeFile(objectOf(name), imageOfAChannel());
    const int owner = open(objectOf(name).c_str(), O_RDWR);
    std::signal(SIGIO, SIG_IGN);
    ASSERT_EQ(fcntl(owner, F_SETLEASE, F_WRLCK), 0);
    EXPECT_EQ(attach(name.c_str()), EWOULDBLOCK);
    EXPECT_EQ(TestSupport::errorOf([&] { HostedChannel::attach(name); }), EWOULDBLOCK);
    ASSERT_EQ(fcntl(owner, F_SETLEASE, F_UNLCK), 0);
    EXPECT_EQ(attach(name.c_str()), 0);

    ASSERT_EQ(fallocate(owner, FALLOC_FL_PUNCH_HOLE | FALLOC_FL_KEEP_SIZE, 8192, 1), 0);
    EXPECT_EQ(attach(name.c_str()), 0) << "less than a page makes no hole";
    ASSERT_EQ(fallocate(owner, FALLOC_FL_PUNCH_HOLE | FALLOC_FL_KEEP_SIZE, 8192, 4096), 0);
    EXPECT_EQ(attach(name.c_str()), EBADMSG);
    EXPECT_EQ(TestSupport::errorOf([&] { HostedChannel::attach(name); }), EBADMSG);
    close(owner);
    std::filesystem::remove(objectOf(name));
}

TEST(AttachingToAChannel, refusesAHostInAnotherPidNamespace)
{
    const HostedChannel outside = createChannel();
    const std::string inside = uniqueChannelName();
    const Gate hosted;
    const Gate seen;
    ForkedChild maker([&] {
        if (unshare(CLONE_NEWPID) != 0) {
            hosted.open();
            return 1;
        }
        ForkedChild child([&] {
            const bool isRefused = attach(outside.name().c_str()) == EREMOTE &&
                                   TestSupport::errorOf([&] { HostedChannel::attach(outside.name()); }) == EREMOTE;
            const HostedChannel own = createChannel(inside);
            const bool isUsable = attach(inside.c_str()) == 0;
            return hosted.open() && seen.await() && isRefused && isUsable ? 0 : 2;
        });
        return child.wait();
    });
    ASSERT_TRUE(hosted.await());
    const int result = attach(inside.c_str());
    if (result == ENOENT) {
        GTEST_SKIP() << "no namespace may be made here";
    }
    EXPECT_EQ(result, EREMOTE);
    EXPECT_EQ(TestSupport::errorOf([&] { createChannel(inside); }), EEXIST);
    seen.open();
    EXPECT_EQ(maker.wait(), 0) << "refused too little or too much in there";
}

TEST(AttachingToAChannel, refusesEveryNumberThatDoesNotFit)
{
    const std::string intact = imageOfAChannel();
    for (const auto& [what, damage] : cDamages) {
        std::string image = intact;
        damage(Numbers(image));
        EXPECT_EQ(attachTo(image), EBADMSG) << what;
    }
}

TEST(AttachingToAChannel, refusesEveryAreaThatLiesElsewhere)
{
    const std::string intact = imageOfAChannel();
    for (const auto area :
         {&Superblock::registry, &Superblock::messages, &Superblock::memoryManagers, &Superblock::pools}) {
        std::string image = intact;
        Superblock& plan = Numbers(image).plan;
        const auto [offset, size] = plan.*area;
        // In the superblock, in another area, badly aligned, and outside; then too small and too large.
        for (const Area other : {Area{4088, size}, Area{4104, size}, Area{offset + 4, size},
                                 Area{plan.objectSize, size}, Area{UINT64_MAX - 7, size}, Area{offset, size - 1},
                                 Area{offset, UINT64_MAX}, Area{offset, UINT64_MAX - offset + 1}}) {
            plan.*area = other;
            EXPECT_EQ(attachTo(image), EBADMSG) << "area at " << offset << ": " << other.offset << ", " << other.size;
        }
    }
}

TEST(AttachingToAChannel, mapsAPageBehindItThatCannotBeRead)
{
    const HostedChannel host = createChannel();
    oxa_zunic_communication_channel* handle = nullptr;
    ASSERT_EQ(oxa_zunic_communication_channel_create(host.name().c_str(), &handle), 0);
    std::istringstream maps(readFile("/proc/self/maps"));
    std::string end; // of the part of the channel that is mapped for reading alone
    bool isGuarded = false;
    for (std::string line; std::getline(maps, line);) {
        const std::string range = line.substr(0, line.find(' '));
        const std::string begin = range.substr(0, range.find('-'));
        isGuarded = isGuarded || (begin == end && line.find(" ---p ") != std::string::npos);
        end = line.find(" r--s ") != std::string::npos && line.ends_with(objectOf(host.name()))
                  ? range.substr(begin.size() + 1)
                  : "";
    }
    EXPECT_TRUE(isGuarded) << maps.str();
    oxa_zunic_communication_channel_destroy(handle);
}

TEST(AttachingToAChannel, tellsWhetherTheHostHasFinished)
{
    const HostedChannel host = createChannel();
    oxa_zunic_communication_channel* handle = nullptr;
    ASSERT_EQ(oxa_zunic_communication_channel_create(host.name().c_str(), &handle), 0);
    for (const std::uint32_t initialized : {0U, 1U}) {
        reinterpret_cast<Superblock*>(host.bytes().data())->initialized = initialized;
        EXPECT_EQ(oxa_zunic_communication_channel_is_initialized(handle), initialized == 1);
        EXPECT_EQ(TestSupport::errorOf([&] { HostedChannel::attach(host.name()); }), initialized == 1 ? 0 : EAGAIN);
    }
    oxa_zunic_communication_channel_destroy(handle);
}

TEST(AttachingToAChannel, doesNotTrustWhatWasReadBeforeTheHostHasFinished)
{
    const HostedChannel host = createChannel();
    auto* const superblock = reinterpret_cast<Superblock*>(host.bytes().data());
    superblock->initialized = 0;
    oxa_zunic_communication_channel* handle = nullptr;
    ASSERT_EQ(oxa_zunic_communication_channel_create(host.name().c_str(), &handle), 0);
    superblock->initialized = 1;
    EXPECT_FALSE(oxa_zunic_communication_channel_is_initialized(handle));
    oxa_zunic_communication_channel_destroy(handle);
}
