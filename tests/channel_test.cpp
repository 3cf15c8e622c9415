#include "oxa/oxa_zunic_communication_channel.h"
#include "support/forked_child.h"
#include "support/live_bus.h"
#include "zunic_hosting/channel_format.h"
#include "zunic_hosting/hosted_channel.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gmock/gmock.h>
#include <sys/mman.h>
#include <sys/stat.h>

using TestSupport::ForkedChild;
using TestSupport::uniqueChannelName;
using ZunicFormat::MemoryManagerEntry;
using ZunicFormat::Registry;
using ZunicFormat::Superblock;
using ZunicHosting::ChannelOptions;
using ZunicHosting::HostedChannel;

namespace {

using Image = std::vector<std::byte>;

HostedChannel createChannel(const std::string& name = uniqueChannelName())
{
    ChannelOptions options;
    options.name = name;
    options.messageSlots = 8;
    options.memoryManagers = {{64, 2, 1, 4}, {256, 1, 0, 1}};
    return HostedChannel::create(options);
}

Image imageOfAChannel()
{
    const HostedChannel channel = createChannel();
    return {channel.bytes().begin(), channel.bytes().end()};
}

/// A shared-memory object that lies where a channel would, with any content.
class RawObject
{
public:
    explicit RawObject(const Image& content)
        : mDescriptor(shm_open(objectName().c_str(), O_RDWR | O_CREAT | O_EXCL, S_IRUSR | S_IWUSR))
    {
        EXPECT_EQ(write(mDescriptor, content.data(), content.size()), static_cast<ssize_t>(content.size()));
    }
    ~RawObject()
    {
        close(mDescriptor);
        shm_unlink(objectName().c_str());
    }

    RawObject(const RawObject&) = delete;
    RawObject& operator=(const RawObject&) = delete;

    const std::string& channelName() const { return mChannelName; }

private:
    std::string objectName() const { return "/zunic." + mChannelName; }

    std::string mChannelName = uniqueChannelName();
    int mDescriptor;
};

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

int attach(const Image& content)
{
    const RawObject object(content);
    return attach(object.channelName().c_str());
}

std::byte* addressAt(const oxa_zunic_communication_channel* handle, std::size_t offset)
{
    std::byte* address = nullptr;
    std::memcpy(&address, reinterpret_cast<const std::byte*>(handle) + offset, sizeof(address));
    return address;
}

/// The lines of the process's memory map that belong to the channel.
std::vector<std::string> mappingsOf(const std::string& channelName)
{
    std::ifstream maps("/proc/self/maps");
    std::vector<std::string> lines;
    for (std::string line; std::getline(maps, line);) {
        if (line.ends_with("/zunic." + channelName)) {
            lines.push_back(line);
        }
    }
    return lines;
}

std::ptrdiff_t countOpenDescriptors()
{
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

/// An attached channel.
class AttachedChannel : public testing::Test
{
protected:
    AttachedChannel() { EXPECT_EQ(oxa_zunic_communication_channel_create(mHost.name().c_str(), &mHandle), 0); }
    ~AttachedChannel() override { oxa_zunic_communication_channel_destroy(mHandle); }

    std::byte* registry() const { return addressAt(mHandle, 584); }
    std::byte* messages() const { return addressAt(mHandle, 592); }
    std::byte* memoryManagers() const { return addressAt(mHandle, 552 + 8); }

    HostedChannel mHost = createChannel();
    oxa_zunic_communication_channel* mHandle = nullptr;
};

constexpr std::size_t cMutexOffset = 1204232;

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

    const HostedChannel channel = createChannel(longest);
    EXPECT_EQ(attach(longest.c_str()), 0);
}

TEST(AttachingToAChannel, neverCreatesOne)
{
    const std::string name = uniqueChannelName();
    EXPECT_EQ(attach(name.c_str()), ENOENT);
    EXPECT_EQ(attach(name.c_str()), ENOENT);
}

TEST(AttachingToAChannel, refusesAnObjectCutShortAnywhere)
{
    const Image whole = imageOfAChannel();
    Superblock plan;
    std::memcpy(&plan, whole.data(), sizeof(plan));
    for (const std::uint64_t size :
         {std::uint64_t{0}, std::uint64_t{1}, sizeof(Superblock) - 1, sizeof(Superblock), std::uint64_t{4096},
          plan.registry.offset + cMutexOffset, plan.registry.offset + plan.registry.size - 1, plan.messages.offset,
          plan.memoryManagers.offset + 319, plan.pools.offset, whole.size() - 1}) {
        EXPECT_EQ(attach(Image(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size))), EBADMSG) << size;
    }
    Image longer = whole;
    longer.emplace_back();
    EXPECT_EQ(attach(longer), EBADMSG);
    EXPECT_EQ(attach(whole), 0);
}

TEST(AttachingToAChannel, refusesWhatIsNoChannel)
{
    EXPECT_EQ(attach(Image(4096)), EBADMSG);
    EXPECT_EQ(attach(Image(2'000'000, std::byte{0xFF})), EBADMSG);

    const std::string name = uniqueChannelName();
    const std::string path = "/dev/shm/zunic." + name;
    ASSERT_EQ(mkfifo(path.c_str(), S_IRUSR | S_IWUSR), 0);
    EXPECT_EQ(attach(name.c_str()), EBADMSG);
    std::filesystem::remove(path);
}

namespace {

struct Damage
{
    const char* what;
    std::function<void(Superblock&, Registry&, MemoryManagerEntry*)> apply;
};

/// Every place of an area that is out of bounds, badly aligned or another's; every size that is too large.
std::vector<Damage> damageToAreas()
{
    struct NamedArea
    {
        const char* name;
        ZunicFormat::Area Superblock::*area;
    };
    std::vector<Damage> damages;
    for (const auto& [name, area] : {NamedArea{"registry", &Superblock::registry},
                                     {"messages", &Superblock::messages},
                                     {"memory managers", &Superblock::memoryManagers},
                                     {"pools", &Superblock::pools}}) {
        for (const std::uint64_t offset :
             {std::uint64_t{0}, std::uint64_t{4088}, std::uint64_t{4104}, UINT64_MAX - 7, std::uint64_t{1} << 63}) {
            damages.push_back(
                {name, [area = area, offset](auto& plan, auto&, auto*) { (plan.*area).offset = offset; }});
        }
        damages.push_back({name, [area = area](auto& plan, auto&, auto*) { (plan.*area).offset += 4; }});
        damages.push_back({name, [area = area](auto& plan, auto&, auto*) { (plan.*area).offset = plan.objectSize; }});
        damages.push_back({name, [area = area](auto& plan, auto&, auto*) { --(plan.*area).size; }});
        for (const std::uint64_t size : {UINT64_MAX, UINT64_MAX - 4095, std::uint64_t{1} << 63}) {
            damages.push_back({name, [area = area, size](auto& plan, auto&, auto*) { (plan.*area).size = size; }});
        }
    }
    return damages;
}

const std::vector<Damage> cDamageToNumbers = {
    {"magic", [](auto& plan, auto&, auto*) { ++plan.magic; }},
    {"version 0", [](auto& plan, auto&, auto*) { plan.version = 0; }},
    {"version 2", [](auto& plan, auto&, auto*) { plan.version = 2; }},
    {"object size", [](auto& plan, auto&, auto*) { --plan.objectSize; }},
    {"object size 0", [](auto& plan, auto&, auto*) { plan.objectSize = 0; }},
    {"messages over registry", [](auto& plan, auto&, auto*) { plan.messages.offset = 4096 + cMutexOffset; }},
    {"pools over managers", [](auto& plan, auto&, auto*) { plan.pools.offset = plan.memoryManagers.offset + 8; }},
    {"one manager more", [](auto& plan, auto&, auto*) { ++plan.memoryManagerCount; }},
    {"all managers", [](auto& plan, auto&, auto*) { plan.memoryManagerCount = UINT32_MAX; }},
    {"one slot more", [](auto&, auto& registry, auto*) { ++registry.messageStorage.storageSize; }},
    {"all slots", [](auto&, auto& registry, auto*) { registry.messageStorage.storageSize = UINT32_MAX; }},
    // The product of these two is 2^64.
    {"slots overflow", [](auto&, auto& registry, auto*) { registry.messageStorage.storageSize = 1U << 31; }},
    {"pool before pools", [](auto&, auto&, auto* managers) { managers[0].poolOffset -= 8; }},
    {"pool behind pools", [](auto&, auto&, auto* managers) { managers[1].poolOffset += 1; }},
    {"pool nowhere", [](auto&, auto&, auto* managers) { managers[1].poolOffset = UINT64_MAX - 255; }},
    {"block size 0", [](auto&, auto&, auto* managers) { managers[0].record.manager.block_size = 0; }},
    {"block size", [](auto&, auto&, auto* managers) { ++managers[1].record.manager.block_size; }},
    {"overflow", [](auto&, auto&, auto* managers) { managers[0].record.manager.block_size = std::uint64_t{1} << 62; }},
    {"maximum", [](auto&, auto&, auto* managers) { ++managers[1].record.manager.maximum_blocks; }},
    {"maximum 2049", [](auto&, auto&, auto* managers) { managers[0].record.manager.maximum_blocks = 2049; }},
};

} // namespace

TEST(AttachingToAChannel, refusesEveryNumberThatDoesNotFit)
{
    const Image intact = imageOfAChannel();
    std::vector<Damage> damages = damageToAreas();
    damages.insert(damages.end(), cDamageToNumbers.begin(), cDamageToNumbers.end());
    for (const Damage& damage : damages) {
        Image image = intact;
        auto& plan = *reinterpret_cast<Superblock*>(image.data());
        damage.apply(plan, *reinterpret_cast<Registry*>(image.data() + 4096),
                     reinterpret_cast<MemoryManagerEntry*>(
                         image.data() + reinterpret_cast<const Superblock*>(intact.data())->memoryManagers.offset));
        const bool isUnchanged = image == intact;
        EXPECT_FALSE(isUnchanged) << damage.what;
        EXPECT_EQ(attach(image), EBADMSG) << damage.what << " at damage " << &damage - damages.data();
    }
    EXPECT_EQ(attach(intact), 0);
}

TEST(AttachingToAChannel, needsPermission)
{
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can become somebody else";
    }
    const HostedChannel channel = createChannel();
    ForkedChild somebodyElse([&] { return setuid(65534) == 0 ? attach(channel.name().c_str()) : -1; });
    EXPECT_EQ(somebodyElse.wait(), EACCES);
}

TEST(AttachingToAChannel, tellsWhetherTheHostHasFinished)
{
    Image image = imageOfAChannel();
    for (const std::uint32_t initialized : {0U, 1U}) {
        reinterpret_cast<Superblock*>(image.data())->initialized = initialized;
        const RawObject object(image);
        oxa_zunic_communication_channel* handle = nullptr;
        ASSERT_EQ(oxa_zunic_communication_channel_create(object.channelName().c_str(), &handle), 0);
        EXPECT_EQ(oxa_zunic_communication_channel_is_initialized(handle), initialized == 1);
        oxa_zunic_communication_channel_destroy(handle);
    }
}

TEST(AttachingToAChannel, leaksNothing)
{
    Image image = imageOfAChannel();
    reinterpret_cast<Superblock*>(image.data())->pools.size = 0;
    const RawObject broken(image);
    const HostedChannel whole = createChannel();
    const std::ptrdiff_t descriptors = countOpenDescriptors();
    for (int i = 0; i < 1000; ++i) {
        ASSERT_EQ(attach(broken.channelName().c_str()), EBADMSG);
        ASSERT_EQ(attach(whole.name().c_str()), 0);
    }
    EXPECT_EQ(countOpenDescriptors(), descriptors);
    EXPECT_THAT(mappingsOf(broken.channelName()), testing::IsEmpty());
    EXPECT_THAT(mappingsOf(whole.name()), testing::SizeIs(1)) << "more than the host's own";
}

TEST_F(AttachedChannel, showsWhatTheHostWrites)
{
    mHost.registry()[8] = std::byte{'A'};
    mHost.messages()[0] = std::byte{'B'};
    EXPECT_EQ(registry()[8], std::byte{'A'});
    EXPECT_EQ(messages()[0], std::byte{'B'});
    std::uint32_t count = 0;
    std::memcpy(&count, reinterpret_cast<const std::byte*>(mHandle) + 552, sizeof(count));
    EXPECT_EQ(count, 2U);
}

TEST_F(AttachedChannel, outlivesItsName)
{
    {
        const HostedChannel gone = std::move(mHost);
    }
    EXPECT_EQ(attach(mHandle ? "" : nullptr), EINVAL);
    EXPECT_TRUE(oxa_zunic_communication_channel_is_initialized(mHandle));
    EXPECT_EQ(oxa_mutex_lock(reinterpret_cast<oxa_mutex*>(registry() + cMutexOffset)), 0);
    EXPECT_EQ(oxa_mutex_unlock(reinterpret_cast<oxa_mutex*>(registry() + cMutexOffset)), 0);
}

TEST_F(AttachedChannel, canBeWrittenOnlyInThePageOfTheMutex)
{
    // The host's own mapping is one piece; the handle's are the read-only ones and one page.
    std::vector<std::string> writable = mappingsOf(mHost.name());
    std::erase_if(writable, [](const std::string& line) { return line.find(" rw-s ") == std::string::npos; });
    EXPECT_THAT(writable, testing::SizeIs(2));

    const auto pageSize = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
    std::byte* const mutex = registry() + cMutexOffset;
    std::byte* const page = mutex - reinterpret_cast<std::uintptr_t>(mutex) % pageSize;
    const auto childThatWritesTo = [](std::byte* place) {
        return ForkedChild([place] {
                   std::signal(SIGSEGV, SIG_DFL);
                   *static_cast<volatile std::byte*>(place) = std::byte{1};
                   return 0;
               })
            .wait();
    };
    EXPECT_EQ(childThatWritesTo(page), 0);
    EXPECT_EQ(childThatWritesTo(page + pageSize - 1), 0);
    for (std::byte* const place : {registry() - 4096, registry(), registry() + 8, page - 1, page + pageSize, messages(),
                                   messages() + 447, memoryManagers(), memoryManagers() + 288}) {
        EXPECT_EQ(childThatWritesTo(place), TestSupport::cKilledBySegmentationFault) << place - registry();
    }
}
