#include "enquirer/oxa_zunic_enquirer.h"
#include "enquirer/snapshot.h"
#include "support/live_bus.h"
#include "support/text.h"

#include "oxa/oxa_mutex.h"
#include "zunic_hosting/hosted_channel.h"

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

/// The function of that name in the platform's library, which the one of the same name below stands in front of.
int callPlatform(const char* function, oxa_mutex* mutex)
{
    return reinterpret_cast<int (*)(oxa_mutex*)>(dlsym(RTLD_NEXT, function))(mutex);
}

} // namespace

extern "C" int oxa_mutex_lock(oxa_mutex* mutex)
{
    ++locks;
    return callPlatform("oxa_mutex_lock", mutex);
}

extern "C" int oxa_mutex_unlock(oxa_mutex* mutex)
{
    ++unlocks;
    return callPlatform("oxa_mutex_unlock", mutex);
}

namespace {

struct InterfaceBytes
{
    std::uint32_t state = 1;
    std::uint16_t id = 0;
    std::uint16_t communicatorId = 2;
    std::vector<unsigned> receivers = {};
    std::uint32_t type = 2;
};

/// A channel that this process hosts, with tables written byte by byte.
class Snapshot : public testing::Test
{
protected:
    TestSupport::TemporaryDirectory mDirectory;
    ZunicHosting::HostedChannel mChannel = ZunicHosting::HostedChannel::create(
        {.name = TestSupport::uniqueChannelName(), .messageSlots = 4, .memoryManagers = {}, .group = {}});
    InterfaceMap mInterfaces;
    LinkMap mLinks;
    CommunicatorList mCommunicators;

    template <typename Value>
    void put(std::size_t offset, Value value)
    {
        std::memcpy(mChannel.registry() + offset, &value, sizeof value);
    }
    void put(std::size_t offset, const std::string& text)
    {
        std::memcpy(mChannel.registry() + offset, text.data(), text.size());
    }

    static std::size_t interfaceOffset(std::size_t k) { return 8 + 952 * k; }

    void putInterface(std::size_t k, const InterfaceBytes& interface)
    {
        const std::size_t entry = interfaceOffset(k);
        put(entry + 256, "Role" + std::to_string(k));
        put(entry + 768, interface.type);
        put(entry + 780, interface.communicatorId);
        put(entry + 782, interface.id);
        put(entry + 784, interface.state);
        for (const unsigned id : interface.receivers) {
            mChannel.registry()[entry + 800 + id / 8] |= std::byte(1U << id % 8);
        }
    }

    void putCommunicator(std::size_t k, std::uint32_t processId, std::uint16_t id, std::uint32_t state)
    {
        const std::size_t entry = 974'856 + 224 * k;
        put(entry, processId);
        put(entry + 4, id);
        put(entry + 8, state);
    }

    void decode()
    {
        const auto tables = std::make_unique<ChannelLayout::RegistryTables>();
        std::memcpy(tables.get(), mChannel.registry() + 8, sizeof *tables);
        decodeInterfaceTable(*tables, mInterfaces, mLinks);
        decodeCommunicatorTable(*tables, mCommunicators);
    }
};

TEST_F(Snapshot, FieldsOfAnInterface)
{
    putInterface(1023, {.state = 3, .id = 1023, .communicatorId = 65535, .type = 7});
    const std::size_t entry = interfaceOffset(1023);
    put(entry, std::string("Clo\xFF\0k", 6));
    put(entry + 256, std::string(256, 'r'));
    put(entry + 772, std::uint16_t{1});
    put(entry + 774, std::uint16_t{65535});
    put(entry + 776, std::uint16_t{3});
    put(entry + 928, std::uint16_t{4});
    put(entry + 930, std::uint16_t{65534});
    decode();
    const UUID uuid("Clo\xFF", std::string(256, 'r'), "", static_cast<InterfaceInstanceType>(7), Version(1, 65535, 3));
    const OxaZunicInterfaceInformation expected(uuid, 65535, 1023, eOxaZunicRegistrationStatePreregistered, {4, 65534});
    ASSERT_EQ(mInterfaces.size(), 1U);
    EXPECT_TRUE(mInterfaces.begin()->second == expected);
}

TEST_F(Snapshot, OnlyRegisteredAndPreregisteredInterfacesAreTakenWithTheirLinks)
{
    const std::uint32_t states[] = {0, 1, 2, 3, 4, 7, 0x101, 0xFFFFFFFF};
    for (std::uint16_t k = 0; k < std::size(states); ++k) {
        putInterface(k, {.state = states[k], .id = k, .receivers = {1023, 129, 64, 63, 0}});
    }
    decode();
    EXPECT_THAT(mInterfaces, ElementsAre(Pair(1, testing::_), Pair(3, testing::_)));
    EXPECT_EQ(mLinks,
              (LinkMap{{1, 0}, {1, 63}, {1, 64}, {1, 129}, {1, 1023}, {3, 0}, {3, 63}, {3, 64}, {3, 129}, {3, 1023}}));
}

TEST_F(Snapshot, OnlyTheFreeMarkerKeepsACommunicatorOut)
{
    const struct
    {
        std::size_t place;
        OxaZunicCommunicatorInformation expected;
        std::uint32_t state;
    } cases[] = {
        {0, {0, 4294967295U, eOxaZunicRegistrationStateInvalid}, 0},
        {1, {7, 1, eOxaZunicRegistrationStateRegistered}, 1},
        {2, {4095, 2, eOxaZunicRegistrationStateUnregistered}, 2},
        {5, {4097, 0, eOxaZunicRegistrationStatePreregistered}, 3},
        {6, {7, 1, eOxaZunicRegistrationStateUnknown}, 4},
        {1023, {65535, 88, eOxaZunicRegistrationStateUnknown}, 0x80000001},
    };
    putCommunicator(3, 77, 4096, 1);
    CommunicatorList expected;
    for (const auto& [place, communicator, state] : cases) {
        putCommunicator(place, communicator.mProcessId, communicator.mCommunicatorId, state);
        expected.push_back(communicator);
    }
    decode();
    EXPECT_TRUE(mCommunicators == expected);
}

TEST_F(Snapshot, TakesTheFirstOfInterfacesWithOneIdButTheLinksOfAll)
{
    putInterface(0, {.state = 1, .id = 7, .communicatorId = 2, .receivers = {3, 70}});
    putInterface(1, {.state = 2, .id = 3, .receivers = {9}});
    putInterface(2, {.state = 3, .id = 3, .communicatorId = 4, .receivers = {7}, .type = 1});
    putInterface(5, {.state = 1, .id = 7, .receivers = {1}});
    putCommunicator(0, 4294967001U, 2, 1);

    locks = unlocks = 0;
    OxaZunicEnquirer enquirer(mDirectory.path(), true, true);
    EXPECT_TRUE(enquirer.startEnquirer() == OxaResult::cNotInitialized);
    ASSERT_TRUE(enquirer.init(mChannel.name()) == OxaResult::cOk);
    EXPECT_EQ(locks, 1);
    EXPECT_EQ(unlocks, 1);
    // The snapshot is not touched by what happens later.
    putInterface(0, {.state = 2, .id = 8, .receivers = {4, 5}});
    TestSupport::printedBy([&] { EXPECT_TRUE(enquirer.startEnquirer() == OxaResult::cOk); });
    EXPECT_EQ(locks, 1);
    enquirer.cleanup();
    enquirer.cleanup();
    EXPECT_TRUE(enquirer.startEnquirer() == OxaResult::cNotInitialized);

    const std::string graph = TestSupport::readFile(mDirectory / "interfaces_communicators_info.dot");
    EXPECT_THAT(graph, testing::ContainsRegex("Skeleton7 [^;]*color= yellow,[^;]*Role0"));
    EXPECT_THAT(graph, testing::ContainsRegex("Stub3 [^;]*color= lightblue,[^;]*Role2"));
    EXPECT_THAT(graph, HasSubstr("\n\n\n\nStub7->Skeleton3[style = dotted, color=\"blue\"]\n"
                                 "Stub3->Skeleton7[color=\"black\"]\nStub70->Skeleton7[color=\"black\"]\n"
                                 "Stub1->Skeleton7[color=\"black\"]\n\n\n"));
}

} // namespace
