#include "channel/registry_snapshot.h"
#include "enquirer/oxa_zunic_enquirer.h"
#include "support/live_bus.h"
#include "support/text.h"

#include "zunic_hosting/hosted_channel.h"

#include <cstring>
#include <gmock/gmock.h>
#include <memory>

using namespace Oxa;
using namespace OxaZunic;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Pair;

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
        const auto tables = std::make_unique<Channel::RegistryTables>();
        std::memcpy(tables.get(), mChannel.registry() + 8, sizeof *tables);
        Channel::decodeRegistry(*tables, mInterfaces, mLinks, mCommunicators);
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
    std::uint16_t id = 0;
    for (const std::uint32_t state : {0U, 1U, 2U, 3U, 4U, 0x101U, 0xFFFFFFFFU}) {
        putInterface(id, {.state = state, .id = id, .receivers = {1023, 64, 63, 0}});
        ++id;
    }
    decode();
    EXPECT_THAT(mInterfaces, ElementsAre(Pair(1, testing::_), Pair(3, testing::_)));
    EXPECT_EQ(mLinks, (LinkMap{{1, 0}, {1, 63}, {1, 64}, {1, 1023}, {3, 0}, {3, 63}, {3, 64}, {3, 1023}}));
}

TEST_F(Snapshot, OnlyTheFreeMarkerKeepsACommunicatorOut)
{
    putCommunicator(0, 4294967295U, 0, 0);
    putCommunicator(1, 77, 4096, 1);
    putCommunicator(2, 1, 7, 1);
    putCommunicator(3, 1, 7, 2);
    putCommunicator(1023, 0, 65535, 0x80000001);
    decode();
    const CommunicatorList expected = {{0, 4294967295U, eOxaZunicRegistrationStateInvalid},
                                       {7, 1, eOxaZunicRegistrationStateRegistered},
                                       {7, 1, eOxaZunicRegistrationStateUnregistered},
                                       {65535, 0, eOxaZunicRegistrationStateUnknown}};
    EXPECT_TRUE(mCommunicators == expected);
}

TEST_F(Snapshot, TakesTheFirstOfInterfacesWithOneIdButTheLinksOfAll)
{
    putInterface(0, {.state = 1, .id = 7, .communicatorId = 2, .receivers = {3, 70}});
    putInterface(1, {.state = 2, .id = 3, .receivers = {9}});
    putInterface(2, {.state = 3, .id = 3, .communicatorId = 4, .receivers = {7}, .type = 1});
    putInterface(5, {.state = 1, .id = 7, .receivers = {1}});
    putCommunicator(0, 4294967001U, 2, 1);

    OxaZunicEnquirer enquirer(mDirectory.path(), true, true);
    EXPECT_TRUE(enquirer.startEnquirer() == OxaResult::cNotInitialized);
    ASSERT_TRUE(enquirer.init(mChannel.name()) == OxaResult::cOk);
    const auto has = [&](const std::string& role) {
        return enquirer.matchInterface("", role, "", false, {}, false, {}) == OxaResult::cOk;
    };
    EXPECT_TRUE(has("Role0") && has("Role2") && !has("Role1") && !has("Role5"));
    // The snapshot is not touched by what happens later.
    putInterface(0, {.state = 2, .id = 8, .receivers = {4, 5}});
    TestSupport::printedBy([&] { EXPECT_TRUE(enquirer.startEnquirer() == OxaResult::cOk); });
    EXPECT_TRUE(has("Role0") && has("Role2") && !has("Role1") && !has("Role5"));
    enquirer.cleanup();
    EXPECT_TRUE(enquirer.startEnquirer() == OxaResult::cNotInitialized);
    EXPECT_TRUE(has("Role0") && has("Role2") && !has("Role1") && !has("Role5")) << "nor by the end of the channel";

    const std::string graph = TestSupport::readFile(mDirectory / "interfaces_communicators_info.dot");
    EXPECT_THAT(graph, testing::ContainsRegex("Skeleton7 [^;]*color= yellow,[^;]*Role0"));
    EXPECT_THAT(graph, testing::ContainsRegex("Stub3 [^;]*color= lightblue,[^;]*Role2"));
    EXPECT_THAT(graph, HasSubstr("\n\n\n\nStub7->Skeleton3[style = dotted, color=\"blue\"]\n"
                                 "Stub3->Skeleton7[color=\"black\"]\nStub70->Skeleton7[color=\"black\"]\n"
                                 "Stub1->Skeleton7[color=\"black\"]\n\n\n"));
}

} // namespace
