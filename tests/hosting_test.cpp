#include "oxa/oxa_memory_manager.h"
#include "support/attached_channel.h"
#include "support/forked_child.h"

#include <cerrno>
#include <functional>
#include <gmock/gmock.h>
#include <map>

using namespace ZunicHosting;
using testing::ElementsAre;
using testing::IsEmpty;
using TestSupport::errorOf;
using TestSupport::ForkedChild;
using TestSupport::valueAt;

namespace {

constexpr std::size_t cStorageHeader = 1204280;

std::string textAt(const std::byte* base, std::size_t offset)
{
    const char* const text = reinterpret_cast<const char*>(base + offset);
    return {text, strnlen(text, 256)};
}

/// The set bits of the 16 words at `base`.
std::vector<unsigned> idsAt(const std::byte* base)
{
    std::vector<unsigned> ids;
    for (unsigned id = 0; id < 1024; ++id) {
        if ((valueAt<std::uint64_t>(base, std::size_t{id} / 64 * 8) >> (id % 64) & 1) != 0) {
            ids.push_back(id);
        }
    }
    return ids;
}

class Hosting : public TestSupport::AttachedChannel
{
protected:
    Hosting() : AttachedChannel(8, {{64, 2, 3, 6}, {4096, 1, 0, 2}}) {}

    const std::byte* interfaceEntry(std::size_t index) const { return registry() + 8 + 952 * index; }
    const std::byte* communicatorEntry(std::size_t index) const { return registry() + 974856 + 224 * index; }
    const std::byte* slot(std::size_t index) const { return messages() + 448 * index; }

    /// The last written slot and the writer counter.
    std::array<unsigned, 2> storageHeader() const
    {
        return {valueAt<std::uint32_t>(registry(), cStorageHeader),
                valueAt<std::uint16_t>(registry(), cStorageHeader + 4)};
    }

    std::vector<unsigned> slotStates() const
    {
        std::vector<unsigned> states;
        for (std::size_t index = 0; index < 8; ++index) {
            states.push_back(valueAt<std::uint16_t>(slot(index), 0) & 15U);
        }
        return states;
    }

    /// The interfaces in use: their names, by id. No id may be there twice.
    std::map<unsigned, std::string> interfaces() const
    {
        std::map<unsigned, std::string> found;
        for (std::size_t index = 0; index < 1024; ++index) {
            const auto state = valueAt<std::uint32_t>(interfaceEntry(index), 784);
            if (state == 1 || state == 3) {
                const unsigned id = valueAt<std::uint16_t>(interfaceEntry(index), 782);
                EXPECT_TRUE(found.emplace(id, textAt(interfaceEntry(index), 0)).second) << "id " << id;
            }
        }
        return found;
    }

    /// Size, initial, additional, total and used blocks of a memory manager, by way of the handle's dispatcher.
    std::array<std::uint64_t, 5> blocks(std::size_t manager) const
    {
        std::byte* const object = valueAt<std::byte*>(dispatcher(), 8) + 320 * manager + 288;
        std::array<std::uint64_t, 5> status{};
        auto& [size, initial, additional, total, used] = status;
        EXPECT_EQ(oxa_memory_manager_get_memory_block_status(reinterpret_cast<oxa_memory_manager*>(object), &size,
                                                             &initial, &additional, &total, &used),
                  0);
        return status;
    }
};

} // namespace

TEST_F(Hosting, writesEveryFieldWhereItBelongs)
{
    const std::string longest(255, '\xFF');
    LockedRegistry lock = mHost.lock();
    EXPECT_EQ(lock.registerCommunicator(4294967295U, 4095, RegistrationState::unregistered), 4095);
    EXPECT_EQ(lock.registerInterface({longest,
                                      "Player",
                                      "",
                                      InstanceType::skeleton,
                                      {1, 2, 65535},
                                      RegistrationState::preregistered,
                                      4095,
                                      {3, 12},
                                      1023}),
              1023);
    for (const unsigned receiver : {0U, 63U, 64U, 129U, 1023U}) {
        lock.connect(1023, static_cast<std::uint16_t>(receiver));
    }
    lock.disconnect(1023, 63);

    const std::byte* const entry = interfaceEntry(0);
    EXPECT_THAT((std::array{textAt(entry, 0), textAt(entry, 256), textAt(entry, 512)}),
                ElementsAre(longest, "Player", ""));
    EXPECT_EQ(valueAt<std::uint32_t>(entry, 768), 2U);
    EXPECT_THAT((valueAt<std::array<std::uint16_t, 3>>(entry, 772)), ElementsAre(1, 2, 65535));
    EXPECT_THAT((valueAt<std::array<std::uint16_t, 2>>(entry, 780)), ElementsAre(4095, 1023));
    EXPECT_EQ(valueAt<std::uint32_t>(entry, 784), 3U);
    EXPECT_THAT(idsAt(entry + 800), ElementsAre(0, 64, 129, 1023));
    EXPECT_THAT((valueAt<std::array<std::uint16_t, 2>>(entry, 928)), ElementsAre(3, 12));
    EXPECT_EQ(valueAt<std::uint32_t>(communicatorEntry(0), 0), 4294967295U);
    EXPECT_EQ(valueAt<std::uint16_t>(communicatorEntry(0), 4), 4095);
    EXPECT_EQ(valueAt<std::uint32_t>(communicatorEntry(0), 8), 2U);
    lock.unregisterCommunicator(4095);
    EXPECT_EQ(valueAt<std::uint16_t>(communicatorEntry(0), 4), 4096);
    EXPECT_EQ(valueAt<std::uint16_t>(communicatorEntry(1023), 4), 4096);

    lock.writeSlot(7, {SlotState::written, 0xABC, 0xFFFF, cExternalDataEntry, {3, 70}, 1234, {5, 6}});
    lock.setStorageHeader(7, 9);
    EXPECT_THAT((valueAt<std::array<std::uint16_t, 2>>(slot(7), 0)), ElementsAre(0xABC2, 0xFFFF));
    EXPECT_EQ(valueAt<std::uint32_t>(slot(7), 4), 0x7FFFFEU);
    EXPECT_THAT(idsAt(slot(7) + 8), ElementsAre(3, 70));
    EXPECT_EQ(valueAt<std::uint32_t>(slot(7), 392), 1234U);
    EXPECT_THAT((valueAt<std::array<std::uint16_t, 2>>(slot(7), 404)), ElementsAre(5, 6));
    EXPECT_THAT(storageHeader(), ElementsAre(7, 9));
    EXPECT_EQ(valueAt<std::uint32_t>(registry(), cStorageHeader + 48), 8U);
}

TEST_F(Hosting, postsAndReleasesMessagesWithTheirChains)
{
    LockedRegistry lock = mHost.lock();
    SlotDescription message;
    message.senderId = 5;
    lock.writeSlot(1, {SlotState::reserved, 9});
    EXPECT_EQ(lock.postMessage(message, 3), 0U);
    EXPECT_THAT(slotStates(), ElementsAre(3, 1, 4, 4, 4, 0, 0, 0));
    for (const auto& [index, next] : std::map<std::size_t, std::uint32_t>{{0, 2}, {2, 3}, {3, 4}, {4, cNoDataEntry}}) {
        EXPECT_EQ(valueAt<std::uint32_t>(slot(index), 4), next) << index;
        EXPECT_EQ(valueAt<std::uint16_t>(slot(index), 0) >> 4, 5) << index;
    }
    EXPECT_EQ(errorOf([&] { lock.postMessage(message, 3); }), ENOSPC);
    EXPECT_EQ(lock.postMessage(message, 0), 5U);
    EXPECT_THAT(storageHeader(), ElementsAre(5, 2));

    EXPECT_EQ(errorOf([&] { lock.releaseMessage(2); }), ENOENT) << "data";
    lock.releaseMessage(0);
    EXPECT_THAT(slotStates(), ElementsAre(0, 1, 0, 0, 0, 3, 0, 0));
}

TEST_F(Hosting, releasesMessagesWithBrokenChains)
{
    LockedRegistry lock = mHost.lock();
    // A loop, an index out of bounds, a slot that is no data, and a block that does not exist.
    lock.writeSlot(0, {SlotState::message, 1, 0, 1});
    lock.writeSlot(1, {SlotState::data, 1, 0, 2});
    lock.writeSlot(2, {SlotState::data, 1, 0, 1});
    lock.writeSlot(3, {SlotState::message, 1, 0, 4});
    lock.writeSlot(4, {SlotState::data, 1, 0, 8});
    lock.writeSlot(5, {SlotState::message, 1, 0, 6});
    lock.writeSlot(6, {SlotState::reserved, 1, 0, cNoDataEntry});
    lock.writeSlot(7, {SlotState::message, 1, 0, cExternalDataEntry, {}, 0, {9, 9}});
    for (const std::uint32_t message : {0U, 3U, 5U, 7U}) {
        lock.releaseMessage(message);
    }
    EXPECT_THAT(slotStates(), ElementsAre(0, 0, 0, 0, 0, 0, 1, 0));
}

TEST_F(Hosting, countsTheBlocksOfItsMemoryManagers)
{
    LockedRegistry lock = mHost.lock();
    std::vector<oxa_zunic_range_location> taken;
    EXPECT_THAT(blocks(0), ElementsAre(64, 2, 3, 2, 0));
    for (const std::uint64_t total : {2U, 2U, 5U, 5U, 5U, 6U}) {
        taken.push_back(lock.allocateBlock(0));
        EXPECT_THAT(blocks(0), ElementsAre(64, 2, 3, total, taken.size()));
    }
    EXPECT_EQ(errorOf([&] { lock.allocateBlock(0); }), ENOSPC);
    lock.freeBlock(taken[3]);
    EXPECT_THAT(blocks(0), ElementsAre(64, 2, 3, 6, 5));
    for (const auto& unused : {taken[3], oxa_zunic_range_location{0, 6}, cNoLocation}) {
        EXPECT_EQ(errorOf([&] { lock.freeBlock(unused); }), ENOENT) << unused.range_index;
    }
    EXPECT_EQ(lock.allocateBlock(0).range_index, taken[3].range_index);

    EXPECT_EQ(lock.allocateBlock(1).range_index, 0);
    EXPECT_EQ(errorOf([&] { lock.allocateBlock(1); }), ENOSPC) << "grows by nothing";
    EXPECT_THAT(blocks(1), ElementsAre(4096, 1, 0, 1, 1));
}

TEST_F(Hosting, takesBackWhateverAnInterfaceHad)
{
    LockedRegistry lock = mHost.lock();
    for (const char* const name : {"a", "b", "c"}) {
        lock.registerInterface({.interfaceName = name, .functions = lock.publishFunctions({"x"})});
    }
    lock.connect(0, 1);
    lock.unregisterInterface(1);
    EXPECT_THAT(interfaces(), ElementsAre(testing::Pair(0, "a"), testing::Pair(2, "c")));
    EXPECT_EQ(valueAt<std::uint32_t>(interfaceEntry(1), 784), 2U) << "still there to see";
    EXPECT_THAT(idsAt(interfaceEntry(0) + 800), IsEmpty());
    EXPECT_THAT(blocks(0), ElementsAre(64, 2, 3, 5, 2));
    EXPECT_EQ(errorOf([&] { lock.unregisterInterface(1); }), ENOENT);
    EXPECT_EQ(errorOf([&] { lock.connect(1, 0); }), ENOENT);
    EXPECT_EQ(lock.registerInterface({}), 1) << "the lowest unused id";
}

TEST_F(Hosting, refusesWhatFitsNoField)
{
    LockedRegistry lock = mHost.lock();
    lock.registerInterface({.interfaceName = "Clock"});
    const std::vector<std::pair<int, std::function<void()>>> cases = {
        {-1, [&] { lock.registerInterface({std::string(256, 'x')}); }},
        {-1, [&] { lock.registerInterface({std::string("a\0b", 3)}); }},
        {-1, [&] { lock.registerInterface({.id = 1024}); }},
        {EEXIST, [&] { lock.registerInterface({.id = 0}); }},
        {-1, [&] { lock.connect(0, 1024); }},
        {-1, [&] { lock.registerCommunicator(1, 4096); }},
        {ENOENT, [&] { lock.unregisterCommunicator(4096); }},
        {-1, [&] { lock.writeSlot(8, {}); }},
        {-1,
         [&] {
             lock.writeSlot(0, {SlotState::free, 4096});
         }},
        {-1,
         [&] {
             lock.writeSlot(0, {SlotState::free, 0, 0, 0x800000});
         }},
        {-1,
         [&] {
             lock.writeSlot(0, {SlotState::free, 0, 0, 0, {1024}});
         }},
        {-1, [&] { lock.allocateBlock(2); }},
        {ENOSPC, [&] { lock.publishFunctions({std::string(5000, 'x')}); }},
    };
    const std::vector<std::byte> before(mHost.bytes().begin(), mHost.bytes().end());
    for (const auto& [error, operation] : cases) {
        EXPECT_EQ(errorOf(operation), error) << "case " << &error - &cases.front().first;
    }
    EXPECT_TRUE(std::ranges::equal(mHost.bytes(), before));
}

TEST_F(Hosting, fillsTheTablesToTheLastEntry)
{
    LockedRegistry lock = mHost.lock();
    for (int i = 0; i < 1024; ++i) {
        lock.registerCommunicator(1);
        lock.registerInterface({});
    }
    EXPECT_EQ(errorOf([&] { lock.registerCommunicator(1); }), ENOSPC);
    EXPECT_EQ(errorOf([&] { lock.registerInterface({}); }), ENOSPC);
    lock.unregisterCommunicator(500);
    lock.unregisterInterface(500);
    EXPECT_EQ(errorOf([&] { lock.registerCommunicator(1, 501); }), EEXIST);
    EXPECT_EQ(lock.registerCommunicator(1), 500);
    EXPECT_EQ(lock.registerInterface({}), 500);
}

TEST_F(Hosting, losesNothingThatProcessesRegisterAtOnce)
{
    std::vector<ForkedChild> children;
    children.reserve(4);
    for (int child = 0; child < 4; ++child) {
        children.emplace_back([this] {
            HostedChannel channel = HostedChannel::attach(mHost.name());
            for (int i = 0; i < 50; ++i) {
                channel.lock().registerInterface({});
                channel.lock().registerCommunicator(1);
            }
            return 0;
        });
    }
    for (ForkedChild& child : children) {
        EXPECT_EQ(child.wait(), 0);
    }
    EXPECT_THAT(interfaces(), testing::SizeIs(200));
    EXPECT_EQ(mHost.lock().registerCommunicator(1), 200);
}
