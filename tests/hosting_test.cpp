#include "oxa/oxa_memory_manager.h"
#include "oxa/oxa_zunic_communication_channel.h"
#include "support/forked_child.h"
#include "support/live_bus.h"
#include "zunic_hosting/channel_format.h"
#include "zunic_hosting/hosted_channel.h"

#include <cerrno>
#include <cstring>
#include <gmock/gmock.h>
#include <map>
#include <set>
#include <system_error>

using namespace ZunicHosting;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using TestSupport::ForkedChild;
using TestSupport::Gate;
using TestSupport::uniqueChannelName;

namespace {

ChannelOptions smallChannel(const std::string& name = uniqueChannelName())
{
    ChannelOptions options;
    options.name = name;
    options.messageSlots = 8;
    options.memoryManagers = {{64, 2, 3, 6}, {4096, 1, 0, 2}};
    return options;
}

/// The errno value that `operation` fails with; 0 when it does not fail, -1 for an argument that fits no field.
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

template <typename Number>
Number numberAt(const std::byte* base, std::size_t offset)
{
    Number number;
    std::memcpy(&number, base + offset, sizeof(number));
    return number;
}

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
        if ((numberAt<std::uint64_t>(base, std::size_t{id} / 64 * 8) >> (id % 64) & 1) != 0) {
            ids.push_back(id);
        }
    }
    return ids;
}

/// A channel that is also attached to, as the tool does it.
class Hosting : public testing::Test
{
protected:
    Hosting() { EXPECT_EQ(oxa_zunic_communication_channel_create(mHost.name().c_str(), &mHandle), 0); }
    ~Hosting() override { oxa_zunic_communication_channel_destroy(mHandle); }

    const std::byte* handle(std::size_t offset) const { return reinterpret_cast<std::byte*>(mHandle) + offset; }
    const std::byte* registry() const { return numberAt<const std::byte*>(handle(584), 0); }
    const std::byte* interfaceEntry(std::size_t index) const { return registry() + 8 + 952 * index; }
    const std::byte* communicatorEntry(std::size_t index) const { return registry() + 974856 + 224 * index; }
    const std::byte* slot(std::size_t index) const { return numberAt<const std::byte*>(handle(592), 0) + 448 * index; }
    unsigned slotState(std::size_t index) const { return numberAt<std::uint16_t>(slot(index), 0) & 15U; }

    /// The interfaces in use: their names, by id. No id may be there twice.
    std::map<unsigned, std::string> interfaces() const
    {
        std::map<unsigned, std::string> found;
        for (std::size_t index = 0; index < 1024; ++index) {
            const auto state = numberAt<std::uint32_t>(interfaceEntry(index), 784);
            if (state == 1 || state == 3) {
                const unsigned id = numberAt<std::uint16_t>(interfaceEntry(index), 782);
                EXPECT_TRUE(found.emplace(id, textAt(interfaceEntry(index), 0)).second) << "id " << id;
            }
        }
        return found;
    }

    /// Total and used blocks of a memory manager, by way of the handle's dispatcher.
    std::array<std::uint64_t, 2> blocks(std::size_t manager) const
    {
        std::byte* const object = numberAt<std::byte*>(handle(552), 8) + 320 * manager + 288;
        std::uint64_t size = 0;
        std::uint64_t initial = 0;
        std::uint64_t additional = 0;
        std::array<std::uint64_t, 2> totalAndUsed{};
        EXPECT_EQ(oxa_memory_manager_get_memory_block_status(reinterpret_cast<oxa_memory_manager*>(object), &size,
                                                             &initial, &additional, &totalAndUsed[0], &totalAndUsed[1]),
                  0);
        const MemoryManagerOptions options = smallChannel().memoryManagers[manager];
        EXPECT_THAT((std::array{size, initial, additional}),
                    ElementsAre(options.blockSize, options.initialBlocks, options.additionalBlocks));
        return totalAndUsed;
    }

    HostedChannel mHost = HostedChannel::create(smallChannel());
    oxa_zunic_communication_channel* mHandle = nullptr;
};

} // namespace

TEST_F(Hosting, writesEveryFieldOfTheTablesWhereItBelongs)
{
    const std::string longest(255, '\xFF');
    LockedRegistry lock = mHost.lock();
    EXPECT_EQ(lock.registerCommunicator(4294967295U, 4095, RegistrationState::unregistered), 4095);
    EXPECT_EQ(lock.registerCommunicator(77), 0);
    InterfaceDescription description{longest, "Player", "", InstanceType::skeleton, {1, 2, 65535}};
    description.state = RegistrationState::preregistered;
    description.communicatorId = 4095;
    description.functions = {3, 12};
    description.id = 1023;
    EXPECT_EQ(lock.registerInterface(description), 1023);
    for (const unsigned receiver : {0U, 63U, 64U, 129U, 1023U}) {
        lock.connect(1023, static_cast<std::uint16_t>(receiver));
    }
    lock.disconnect(1023, 63);

    const std::byte* const entry = interfaceEntry(0);
    EXPECT_EQ(textAt(entry, 0), longest);
    EXPECT_EQ(textAt(entry, 256), "Player");
    EXPECT_EQ(textAt(entry, 512), "");
    EXPECT_EQ(numberAt<std::uint32_t>(entry, 768), 2U);
    EXPECT_EQ((numberAt<std::array<std::uint16_t, 3>>(entry, 772)), (std::array<std::uint16_t, 3>{1, 2, 65535}));
    EXPECT_EQ(numberAt<std::uint16_t>(entry, 780), 4095);
    EXPECT_EQ(numberAt<std::uint16_t>(entry, 782), 1023);
    EXPECT_EQ(numberAt<std::uint32_t>(entry, 784), 3U);
    EXPECT_THAT(idsAt(entry + 800), ElementsAre(0, 64, 129, 1023));
    EXPECT_EQ(numberAt<std::uint16_t>(entry, 928), 3);
    EXPECT_EQ(numberAt<std::uint16_t>(entry, 930), 12);
    EXPECT_EQ(numberAt<std::uint32_t>(communicatorEntry(0), 0), 4294967295U);
    EXPECT_EQ(numberAt<std::uint16_t>(communicatorEntry(0), 4), 4095);
    EXPECT_EQ(numberAt<std::uint32_t>(communicatorEntry(0), 8), 2U);
    EXPECT_EQ(numberAt<std::uint16_t>(communicatorEntry(1), 4), 0);
    EXPECT_EQ(numberAt<std::uint16_t>(communicatorEntry(1023), 4), 4096) << "free";

    lock.unregisterCommunicator(4095);
    EXPECT_EQ(numberAt<std::uint16_t>(communicatorEntry(0), 4), 4096);
}

TEST_F(Hosting, writesEveryFieldOfAMessageWhereItBelongs)
{
    LockedRegistry lock = mHost.lock();
    SlotDescription message{SlotState::written, 0xABC, 0xFFFF, cExternalDataEntry, {3, 70}, 1234, {5, 6}};
    lock.writeSlot(7, message);
    lock.setStorageHeader(7, 9);

    EXPECT_EQ(numberAt<std::uint16_t>(slot(7), 0), 0xABC2);
    EXPECT_EQ(numberAt<std::uint16_t>(slot(7), 2), 0xFFFF);
    EXPECT_EQ(numberAt<std::uint32_t>(slot(7), 4), 0x7FFFFEU);
    EXPECT_THAT(idsAt(slot(7) + 8), ElementsAre(3, 70));
    EXPECT_EQ(numberAt<std::uint32_t>(slot(7), 392), 1234U);
    EXPECT_EQ(numberAt<std::uint16_t>(slot(7), 404), 5);
    EXPECT_EQ(numberAt<std::uint16_t>(slot(7), 406), 6);
    const std::byte* const storage = registry() + 1204280;
    EXPECT_EQ(numberAt<std::uint32_t>(storage, 0), 7U);
    EXPECT_EQ(numberAt<std::uint16_t>(storage, 4), 9);
    EXPECT_EQ(numberAt<std::uint32_t>(storage, 48), 8U);
}

TEST_F(Hosting, postsAndReleasesMessagesWithTheirChains)
{
    LockedRegistry lock = mHost.lock();
    SlotDescription message;
    message.senderId = 5;
    lock.writeSlot(1, {SlotState::reserved, 9});
    EXPECT_EQ(lock.postMessage(message, 3), 0U);
    std::vector<std::uint32_t> chain;
    for (std::uint32_t next = numberAt<std::uint32_t>(slot(0), 4); next != cNoDataEntry && chain.size() < 8;
         next = numberAt<std::uint32_t>(slot(next), 4)) {
        chain.push_back(next);
        EXPECT_EQ(numberAt<std::uint16_t>(slot(next), 0), 5 << 4 | 4);
    }
    EXPECT_THAT(chain, ElementsAre(2, 3, 4));
    EXPECT_EQ(errorOf([&] { lock.postMessage(message, 3); }), ENOSPC);
    EXPECT_EQ(lock.postMessage(message, 0), 5U);
    EXPECT_EQ(numberAt<std::uint32_t>(registry() + 1204280, 0), 5U);
    EXPECT_EQ(numberAt<std::uint16_t>(registry() + 1204280, 4), 2);

    EXPECT_EQ(errorOf([&] { lock.releaseMessage(2); }), ENOENT) << "data";
    lock.releaseMessage(0);
    for (const std::size_t index : {0U, 2U, 3U, 4U}) {
        EXPECT_EQ(slotState(index), 0U) << index;
    }
    EXPECT_EQ(slotState(1), 1U);
    EXPECT_EQ(slotState(5), 3U);
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
    for (const std::size_t index : {0U, 1U, 2U, 3U, 4U, 5U, 7U}) {
        EXPECT_EQ(slotState(index), 0U) << index;
    }
    EXPECT_EQ(slotState(6), 1U);
}

TEST_F(Hosting, countsTheBlocksOfItsMemoryManagers)
{
    LockedRegistry lock = mHost.lock();
    std::vector<oxa_zunic_range_location> taken;
    EXPECT_THAT(blocks(0), ElementsAre(2, 0));
    for (const std::uint64_t total : {2U, 2U, 5U, 5U, 5U, 6U}) {
        taken.push_back(lock.allocateBlock(0));
        EXPECT_THAT(blocks(0), ElementsAre(total, taken.size()));
    }
    EXPECT_EQ(errorOf([&] { lock.allocateBlock(0); }), ENOSPC);
    lock.freeBlock(taken[3]);
    EXPECT_THAT(blocks(0), ElementsAre(6, 5));
    EXPECT_EQ(errorOf([&] { lock.freeBlock(taken[3]); }), ENOENT);
    EXPECT_EQ(errorOf([&] { lock.freeBlock({0, 6}); }), ENOENT);
    EXPECT_EQ(errorOf([&] { lock.freeBlock(cNoLocation); }), ENOENT);
    EXPECT_EQ(lock.allocateBlock(0).range_index, taken[3].range_index);

    EXPECT_EQ(lock.allocateBlock(1).range_index, 0);
    EXPECT_EQ(errorOf([&] { lock.allocateBlock(1); }), ENOSPC) << "grows by nothing";
    EXPECT_EQ(errorOf([&] { lock.allocateBlock(2); }), -1);
}

TEST_F(Hosting, takesBackWhateverAnInterfaceHad)
{
    LockedRegistry lock = mHost.lock();
    for (const char* const name : {"a", "b", "c"}) {
        InterfaceDescription description;
        description.interfaceName = name;
        description.functions = lock.publishFunctions({"x"});
        lock.registerInterface(description);
    }
    lock.connect(0, 1);
    lock.connect(2, 1);
    lock.unregisterInterface(1);
    EXPECT_THAT(interfaces(), ElementsAre(testing::Pair(0, "a"), testing::Pair(2, "c")));
    EXPECT_EQ(numberAt<std::uint32_t>(interfaceEntry(1), 784), 2U) << "still there to see";
    EXPECT_THAT(idsAt(interfaceEntry(0) + 800), IsEmpty());
    EXPECT_THAT(blocks(0), ElementsAre(5, 2));
    EXPECT_EQ(errorOf([&] { lock.unregisterInterface(1); }), ENOENT);
    EXPECT_EQ(errorOf([&] { lock.connect(1, 0); }), ENOENT);
    EXPECT_EQ(lock.registerInterface({}), 1) << "the lowest unused id";
}

TEST_F(Hosting, refusesWhatFitsNoField)
{
    LockedRegistry lock = mHost.lock();
    const auto registerNamed = [&](const std::string& name) {
        return errorOf([&] { lock.registerInterface({name}); });
    };
    EXPECT_EQ(registerNamed(std::string(256, 'x')), -1);
    EXPECT_EQ(registerNamed(std::string("a\0b", 3)), -1);
    EXPECT_EQ(errorOf([&] { lock.registerCommunicator(1, 4096); }), -1);
    EXPECT_EQ(errorOf([&] { lock.unregisterCommunicator(4096); }), ENOENT);
    EXPECT_EQ(errorOf([&] { lock.writeSlot(8, {}); }), -1);
    EXPECT_EQ(errorOf([&] { lock.writeSlot(0, {SlotState::free, 4096}); }), -1);
    EXPECT_EQ(errorOf([&] { lock.writeSlot(0, {SlotState::free, 0, 0, 0x800000}); }), -1);
    EXPECT_EQ(errorOf([&] { lock.writeSlot(0, {SlotState::free, 0, 0, 0, {1024}}); }), -1);
    EXPECT_EQ(errorOf([&] { lock.publishFunctions({std::string(5000, 'x')}); }), ENOSPC);
    EXPECT_THAT(interfaces(), IsEmpty());
    EXPECT_EQ(blocks(1)[1], 0U);
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
                InterfaceDescription description;
                description.interfaceName = std::to_string(getpid()) + "/" + std::to_string(i);
                channel.lock().registerInterface(description);
                channel.lock().registerCommunicator(static_cast<std::uint32_t>(getpid()));
            }
            return 0;
        });
    }
    for (ForkedChild& child : children) {
        EXPECT_EQ(child.wait(), 0);
    }
    std::set<std::string> names;
    for (const auto& [id, name] : interfaces()) {
        names.insert(name);
    }
    EXPECT_THAT(names, SizeIs(200));
    EXPECT_EQ(mHost.lock().registerCommunicator(1), 200);
}

TEST_F(Hosting, isLeftWithWholeEntriesByAProcessThatIsKilled)
{
    for (int victim = 0; victim < 20; ++victim) {
        const Gate running;
        ForkedChild child([&] {
            HostedChannel channel = HostedChannel::attach(mHost.name());
            running.open();
            for (char letter = 'a';; letter = letter == 'z' ? 'a' : static_cast<char>(letter + 1)) {
                InterfaceDescription description;
                description.interfaceName = description.roleName = description.domainName = std::string(255, letter);
                const std::uint16_t id = channel.lock().registerInterface(description);
                channel.lock().unregisterInterface(id);
            }
            return 0;
        });
        ASSERT_TRUE(running.await());
        usleep(static_cast<useconds_t>(victim * 100));
        child.send(SIGKILL);
        EXPECT_EQ(child.wait(), TestSupport::cKilled);
        LockedRegistry lock = mHost.lock();
        for (const auto& [id, name] : interfaces()) {
            EXPECT_EQ(name, std::string(255, name.at(0)));
            lock.unregisterInterface(static_cast<std::uint16_t>(id));
        }
    }
}
