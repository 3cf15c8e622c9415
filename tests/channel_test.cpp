#include "support/attached_channel.h"
#include "zunic_hosting/channel_format.h"

#include <array>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <sys/stat.h>

using TestSupport::uniqueChannelName;
using ZunicFormat::Superblock;
using ZunicHosting::HostedChannel;

namespace {

using Image = std::vector<std::byte>;

HostedChannel createChannel(const std::string& name = uniqueChannelName())
{
    return HostedChannel::create({.name = name, .messageSlots = 8, .memoryManagers = {{64, 2, 1, 4}, {256, 1, 0, 1}}});
}

Image imageOfAChannel()
{
    const HostedChannel channel = createChannel();
    return {channel.bytes().begin(), channel.bytes().end()};
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
int attach(const Image& content)
{
    const std::string name = uniqueChannelName();
    const std::filesystem::path object = "/dev/shm/zunic." + name;
    std::ofstream(object).write(reinterpret_cast<const char*>(content.data()),
                                static_cast<std::streamsize>(content.size()));
    const int result = attach(name.c_str());
    std::filesystem::remove(object);
    return result;
}

/// The file descriptors of this process, and its mappings of channels.
std::array<std::ptrdiff_t, 2> countResources()
{
    std::ifstream maps("/proc/self/maps");
    std::ptrdiff_t mappings = 0;
    for (std::string line; std::getline(maps, line);) {
        mappings += line.find("/zunic.") != std::string::npos ? 1 : 0;
    }
    return {std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}), mappings};
}

} // namespace

TEST(AttachingToAChannel, refusesImpossibleNamesAndArguments)
{
    const std::string longest = uniqueChannelName() + std::string(249 - uniqueChannelName().size(), 'x');
    for (const std::string& name : {std::string(), std::string("a/b"), std::string("/"), longest + "x"}) {
        EXPECT_EQ(attach(name.c_str()), EINVAL) << name;
    }
    EXPECT_EQ(attach(static_cast<const char*>(nullptr)), EINVAL);
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
    const Image whole = imageOfAChannel();
    EXPECT_EQ(attach(whole), 0);
    const auto plan = TestSupport::valueAt<Superblock>(whole.data(), 0);
    for (const std::uint64_t size : {std::uint64_t{0}, sizeof(Superblock) - 1, sizeof(Superblock), std::uint64_t{4096},
                                     plan.messages.offset, plan.pools.offset, whole.size() - 1, whole.size() + 1}) {
        Image image = whole;
        image.resize(size);
        EXPECT_EQ(attach(image), EBADMSG) << size;
    }
    EXPECT_EQ(attach(Image(whole.size())), EBADMSG);
    EXPECT_EQ(attach(Image(whole.size(), std::byte{0xFF})), EBADMSG);

    const std::string name = uniqueChannelName();
    const std::filesystem::path pipe = "/dev/shm/zunic." + name;
    ASSERT_EQ(mkfifo(pipe.c_str(), S_IRUSR | S_IWUSR), 0);
    EXPECT_EQ(attach(name.c_str()), EBADMSG);
    std::filesystem::remove(pipe);
}

namespace {

struct Damaged
{
    Superblock& plan;
    std::uint32_t& slots;
    ZunicFormat::MemoryManagerEntry* entries;
    oxa_memory_manager& first;
    oxa_memory_manager& second;
};

constexpr std::pair<const char*, void (*)(const Damaged&)> cDamages[] = {
    {"magic", [](auto& at) { ++at.plan.magic; }},
    {"version 0", [](auto& at) { at.plan.version = 0; }},
    {"version 2", [](auto& at) { at.plan.version = 2; }},
    {"object size", [](auto& at) { --at.plan.objectSize; }},
    {"object size 0", [](auto& at) { at.plan.objectSize = 0; }},
    {"pools over managers", [](auto& at) { at.plan.pools.offset = at.plan.memoryManagers.offset + 8; }},
    {"one manager more", [](auto& at) { ++at.plan.memoryManagerCount; }},
    {"all managers", [](auto& at) { at.plan.memoryManagerCount = UINT32_MAX; }},
    {"one slot more", [](auto& at) { ++at.slots; }},
    {"all slots", [](auto& at) { at.slots = UINT32_MAX; }},
    // 448 times this is 0 in 32 bits.
    {"slots overflow", [](auto& at) { at.slots = 1U << 31; }},
    {"pool before pools", [](auto& at) { at.entries[0].poolOffset -= 8; }},
    {"pool behind pools", [](auto& at) { at.entries[1].poolOffset += 1; }},
    {"pool nowhere", [](auto& at) { at.entries[1].poolOffset = UINT64_MAX - 255; }},
    {"block size 0", [](auto& at) { at.first.block_size = 0; }},
    {"block size", [](auto& at) { ++at.second.block_size; }},
    // 4 blocks of this size are 0 bytes in 64 bits.
    {"block size overflow", [](auto& at) { at.first.block_size = std::uint64_t{1} << 62; }},
    {"maximum", [](auto& at) { ++at.second.maximum_blocks; }},
    {"maximum 2049", [](auto& at) { at.first.maximum_blocks = 2049; }},
};

} // namespace

TEST(AttachingToAChannel, refusesEveryNumberThatDoesNotFit)
{
    const Image intact = imageOfAChannel();
    const auto expectRefused = [&intact](const std::string& what, auto damage) {
        Image image = intact;
        auto& plan = *reinterpret_cast<Superblock*>(image.data());
        auto& registry = *reinterpret_cast<ZunicFormat::Registry*>(image.data() + plan.registry.offset);
        auto* const entries =
            reinterpret_cast<ZunicFormat::MemoryManagerEntry*>(image.data() + plan.memoryManagers.offset);
        damage(Damaged{plan, registry.messageStorage.storageSize, entries, entries[0].record.manager,
                       entries[1].record.manager});
        EXPECT_EQ(attach(image), EBADMSG) << what;
    };
    for (const auto& [what, damage] : cDamages) {
        expectRefused(what, damage);
    }
    const auto plan = TestSupport::valueAt<Superblock>(intact.data(), 0);
    constexpr std::uint64_t cHalf = std::uint64_t{1} << 63;
    for (const auto area :
         {&Superblock::registry, &Superblock::messages, &Superblock::memoryManagers, &Superblock::pools}) {
        const auto [offset, size] = plan.*area;
        const std::string what = "area at " + std::to_string(offset) + " with ";
        // In the superblock, in another area, badly aligned, and outside.
        for (const std::uint64_t other : {std::uint64_t{0}, std::uint64_t{4088}, std::uint64_t{4104}, offset + 4,
                                          plan.objectSize, UINT64_MAX - 7, cHalf}) {
            expectRefused(what + "offset " + std::to_string(other),
                          [&](const Damaged& at) { (at.plan.*area).offset = other; });
        }
        for (const std::uint64_t other : {size - 1, UINT64_MAX, UINT64_MAX - 4095, cHalf}) {
            expectRefused(what + "size " + std::to_string(other),
                          [&](const Damaged& at) { (at.plan.*area).size = other; });
        }
    }
}

TEST(AttachingToAChannel, tellsWhetherTheHostHasFinished)
{
    const HostedChannel host = createChannel();
    oxa_zunic_communication_channel* handle = nullptr;
    auto& superblock = *reinterpret_cast<Superblock*>(host.bytes().data());
    for (const std::uint32_t initialized : {0U, 1U}) {
        superblock.initialized = initialized;
        ASSERT_EQ(oxa_zunic_communication_channel_create(host.name().c_str(), &handle), 0);
        EXPECT_EQ(oxa_zunic_communication_channel_is_initialized(handle), initialized == 1);
        oxa_zunic_communication_channel_destroy(handle);
        EXPECT_EQ(TestSupport::errorOf([&] { HostedChannel::attach(host.name()); }), initialized == 1 ? 0 : EAGAIN);
    }
}

TEST(AttachingToAChannel, leaksNothing)
{
    Image broken = imageOfAChannel();
    reinterpret_cast<Superblock*>(broken.data())->pools.size = 0;
    const HostedChannel whole = createChannel();
    const auto before = countResources();
    for (int i = 0; i < 100; ++i) {
        ASSERT_EQ(attach(broken), EBADMSG);
        ASSERT_EQ(attach(whole.name().c_str()), 0);
    }
    EXPECT_EQ(countResources(), before);
}
