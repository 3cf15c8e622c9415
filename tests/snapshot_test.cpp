#include "enquirer/oxa_zunic_enquirer.h"
#include "enquirer/snapshot.h"
#include "support/live_bus.h"
#include "support/records.h"

#include "oxa/oxa_mutex.h"
#include "zunic_hosting/hosted_channel.h"

#include <cerrno>
#include <cstring>
#include <dlfcn.h>
#include <gmock/gmock.h>
#include <memory>

using namespace Oxa;
using namespace OxaZunic;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Pair;

namespace {

int locks = 0;
int unlocks = 0;
bool isLockFailing = false;

/// The function of that name in the platform's library, which the one of the same name below stands in front of.
int callPlatform(const char* function, oxa_mutex* mutex)
{
    return reinterpret_cast<int (*)(oxa_mutex*)>(dlsym(RTLD_NEXT, function))(mutex);
}

} // namespace

extern "C" int oxa_mutex_lock(oxa_mutex* mutex)
{
    ++locks;
    return isLockFailing ? ETIMEDOUT : callPlatform("oxa_mutex_lock", mutex);
}

extern "C" int oxa_mutex_unlock(oxa_mutex* mutex)
{
    ++unlocks;
    return callPlatform("oxa_mutex_unlock", mutex);
}

namespace {

constexpr std::size_t cRegistrySize = 1'204'232;

struct InterfaceBytes
{
    std::uint32_t state = 1;
    std::uint16_t id = 0;
    std::uint16_t communicatorId = 2;
    std::vector<unsigned> receivers = {};
    std::uint32_t type = 2;
};

/// The tables of a registry, written byte by byte.
class RawRegistry
{
public:
    explicit RawRegistry(std::byte* base) : mBase(base) {}

    template <typename Value>
    void put(std::size_t offset, Value value)
    {
        std::memcpy(mBase + offset, &value, sizeof value);
    }
    void put(std::size_t offset, const std::string& text) { std::memcpy(mBase + offset, text.data(), text.size()); }

    static std::size_t interfaceOffset(std::size_t k) { return 8 + 952 * k; }
    static std::size_t communicatorOffset(std::size_t k) { return 974'856 + 224 * k; }

    void putInterface(std::size_t k, const InterfaceBytes& interface)
    {
        const std::size_t entry = interfaceOffset(k);
        put(entry + 256, "Role" + std::to_string(k));
        put(entry + 768, interface.type);
        put(entry + 780, interface.communicatorId);
        put(entry + 782, interface.id);
        put(entry + 784, interface.state);
        for (const unsigned id : interface.receivers) {
            mBase[entry + 800 + id / 8] |= std::byte(1U << id % 8);
        }
    }

    void putCommunicator(std::size_t k, std::uint32_t processId, std::uint16_t id, std::uint32_t state)
    {
        put(communicatorOffset(k), processId);
        put(communicatorOffset(k) + 4, id);
        put(communicatorOffset(k) + 8, state);
    }

private:
    std::byte* mBase;
};

class Snapshot : public testing::Test
{
protected:
    std::vector<std::uint64_t> mMemory = std::vector<std::uint64_t>(cRegistrySize / 8);
    RawRegistry mRegistry{reinterpret_cast<std::byte*>(mMemory.data())};
    InterfaceMap mInterfaces;
    LinkMap mLinks;
    CommunicatorList mCommunicators;

    void SetUp() override
    {
        for (std::size_t k = 0; k < 1024; ++k) {
            mRegistry.putCommunicator(k, 0, 4096, 0);
        }
    }

    void decode()
    {
        const auto tables = std::make_unique<ChannelLayout::RegistryTables>();
        std::memcpy(tables.get(), mMemory.data() + 1, sizeof *tables);
        decodeInterfaceTable(*tables, mInterfaces, mLinks);
        decodeCommunicatorTable(*tables, mCommunicators);
    }
};

TEST_F(Snapshot, FieldsOfAnInterface)
{
    mRegistry.putInterface(1023, {.state = 3, .id = 1023, .communicatorId = 65535, .type = 7});
    const std::size_t entry = RawRegistry::interfaceOffset(1023);
    mRegistry.put(entry, std::string("Clo\xFF\0k", 6));
    mRegistry.put(entry + 256, std::string(256, 'r'));
    mRegistry.put(entry + 772, std::uint16_t{1});
    mRegistry.put(entry + 774, std::uint16_t{65535});
    mRegistry.put(entry + 776, std::uint16_t{3});
    mRegistry.put(entry + 928, std::uint16_t{4});
    mRegistry.put(entry + 930, std::uint16_t{65534});
    decode();
    const UUID uuid("Clo\xFF", std::string(256, 'r'), "", static_cast<InterfaceInstanceType>(7), Version(1, 65535, 3));
    const OxaZunicInterfaceInformation expected(uuid, 65535, 1023, eOxaZunicRegistrationStatePreregistered, {4, 65534});
    ASSERT_EQ(mInterfaces.size(), 1U);
    EXPECT_TRUE(mInterfaces.begin()->second == expected);
}

TEST_F(Snapshot, OnlyRegisteredAndPreregisteredInterfacesAreTaken)
{
    const std::uint32_t states[] = {0, 1, 2, 3, 4, 7, 0x101, 0xFFFFFFFF};
    for (std::uint16_t k = 0; k < std::size(states); ++k) {
        mRegistry.putInterface(k, {.state = states[k], .id = k, .receivers = {5}});
    }
    decode();
    EXPECT_THAT(mInterfaces, ElementsAre(Pair(1, testing::_), Pair(3, testing::_)));
    EXPECT_THAT(mLinks, ElementsAre(Pair(1, 5), Pair(3, 5)));
}

TEST_F(Snapshot, ReceiversAtTheEdgesOfTheirWords)
{
    mRegistry.putInterface(0, {.id = 900, .receivers = {1023, 129, 64, 63, 0}});
    decode();
    EXPECT_THAT(mLinks, ElementsAre(Pair(900, 0), Pair(900, 63), Pair(900, 64), Pair(900, 129), Pair(900, 1023)));
}

TEST_F(Snapshot, OnlyTheFreeMarkerKeepsACommunicatorOut)
{
    mRegistry.putCommunicator(0, 4294967295U, 0, 0);
    mRegistry.putCommunicator(2, 77, 4096, 1);
    mRegistry.putCommunicator(1023, 88, 65535, 17);
    decode();
    ASSERT_EQ(mCommunicators.size(), 2U);
    EXPECT_TRUE(mCommunicators[0] ==
                OxaZunicCommunicatorInformation(0, 4294967295U, eOxaZunicRegistrationStateInvalid));
    EXPECT_TRUE(mCommunicators[1] == OxaZunicCommunicatorInformation(65535, 88, eOxaZunicRegistrationStateUnknown));
}

/// An enquirer on a channel that this process hosts.
class Enquirer : public testing::Test
{
protected:
    TestSupport::TemporaryDirectory mDirectory;
    std::string mOutput = mDirectory / "output";
    ZunicHosting::HostedChannel mChannel = ZunicHosting::HostedChannel::create(
        {.name = TestSupport::uniqueChannelName(), .messageSlots = 4, .memoryManagers = {}, .group = {}});
    RawRegistry mRegistry{mChannel.registry()};
    OxaZunicEnquirer mEnquirer{mOutput, true, true};

    void SetUp() override
    {
        locks = unlocks = 0;
        isLockFailing = false;
    }

    void TearDown() override
    {
        mEnquirer.cleanup();
        mEnquirer.cleanup();
        EXPECT_TRUE(mEnquirer.startEnquirer() == OxaResult::cNotInitialized);
    }

    OxaResult writeReports()
    {
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        const OxaResult result = mEnquirer.startEnquirer();
        testing::internal::GetCapturedStdout();
        testing::internal::GetCapturedStderr();
        return result;
    }

    std::string report(const std::string& extension) const
    {
        return TestSupport::readFile(mOutput + "/interfaces_communicators_info." + extension);
    }
};

TEST_F(Enquirer, TakesTheFirstOfInterfacesWithOneIdButTheLinksOfAll)
{
    mRegistry.putInterface(0, {.state = 1, .id = 7, .communicatorId = 2, .receivers = {3, 70}});
    mRegistry.putInterface(1, {.state = 2, .id = 3, .receivers = {9}});
    mRegistry.putInterface(2, {.state = 3, .id = 3, .communicatorId = 4, .receivers = {7}, .type = 1});
    mRegistry.putInterface(5, {.state = 1, .id = 7, .receivers = {1}});
    mRegistry.putCommunicator(0, 4294967001U, 2, 1);
    mRegistry.putCommunicator(2, 4294967002U, 4, 2);

    ASSERT_TRUE(mEnquirer.init(mChannel.name()) == OxaResult::cOk);
    EXPECT_EQ(locks, 1);
    EXPECT_EQ(unlocks, 1);
    // The snapshot is not touched by what happens later.
    mRegistry.putInterface(0, {.state = 2, .id = 8, .receivers = {4, 5}});
    ASSERT_TRUE(writeReports() == OxaResult::cOk);
    EXPECT_EQ(locks, 1);

    const std::string graph = report("dot");
    EXPECT_THAT(graph, HasSubstr("Skeleton7 [fontsize=8,color= yellow,style=filled, shape=rectangle,"
                                 "label=\"\\nRole0\\n\\n0.0.0\"]; \n"));
    EXPECT_THAT(graph, HasSubstr("Stub3 [fontsize=8,color= lightblue,style=filled, shape=rectangle,"
                                 "label=\"\\nRole2\\n\\n0.0.0\"]; \n"));
    EXPECT_THAT(graph, HasSubstr("\n\n\n\nStub7->Skeleton3[style = dotted, color=\"blue\"]\n"
                                 "Stub3->Skeleton7[color=\"black\"]\nStub70->Skeleton7[color=\"black\"]\n"
                                 "Stub1->Skeleton7[color=\"black\"]\n\n\n"));
    EXPECT_THAT(report("txt"),
                HasSubstr("ProcessId:  4294967001\nCommunicatorId:   2\nRegistrationState:  Registered\n\n"
                          "ProcessId:  4294967002\nCommunicatorId:   4\nRegistrationState:  unRegistered\n\n"));
}

TEST_F(Enquirer, EmptyRegistryIsASnapshotToo)
{
    ASSERT_TRUE(mEnquirer.init(mChannel.name()) == OxaResult::cOk);
    EXPECT_TRUE(mEnquirer.matchInterface("", "", "local", false, {}, false, {}) == OxaResult::cObjectNotFound);
    EXPECT_TRUE(writeReports() == OxaResult::cFailed);
    EXPECT_EQ(report("dot"), "digraph RegisteredInterfaces { \n\n\n}\n");
}

TEST_F(Enquirer, WithoutTheLockNothingIsReadAndNothingUnlocked)
{
    mRegistry.putInterface(0, {.id = 7});
    isLockFailing = true;
    EXPECT_TRUE(mEnquirer.init(mChannel.name()) == OxaResult::cFailed);
    EXPECT_EQ(locks, 1);
    EXPECT_EQ(unlocks, 0);
    EXPECT_TRUE(mEnquirer.matchInterface("", "Role0", "", false, {}, false, {}) == OxaResult::cObjectNotFound);
}

TEST_F(Enquirer, WithoutAChannelNothingHappens)
{
    EXPECT_TRUE(mEnquirer.startEnquirer() == OxaResult::cNotInitialized);
    EXPECT_TRUE(mEnquirer.init(mChannel.name() + ".other") == OxaResult::cObjectInvalid);
    EXPECT_TRUE(mEnquirer.startEnquirer() == OxaResult::cNotInitialized);
    EXPECT_EQ(locks, 0);
    EXPECT_THAT(mDirectory.entries(), testing::IsEmpty());
}

TEST_F(Enquirer, GraphDecidesTheResultWhenThereIsOne)
{
    mRegistry.putInterface(0, {.id = 1});
    mRegistry.putInterface(1, {.id = 2, .type = 1});
    mRegistry.putCommunicator(0, 4294967001U, 2, 1);
    ASSERT_TRUE(mEnquirer.init(mChannel.name()) == OxaResult::cOk);
    std::filesystem::create_directories(mOutput + "/interfaces_communicators_info.txt");
    EXPECT_TRUE(writeReports() == OxaResult::cOk);
}

} // namespace
