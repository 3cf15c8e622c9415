#include "support/records.h"
#include "support/text.h"
#include "writer/text/oxa_zunic_enquirer_interface_text_file.h"

#include <cstring>
#include <gmock/gmock.h>
#include <numeric>
#include <sys/mman.h>

using namespace Oxa;
using testing::HasSubstr;
using TestSupport::makeInterface;

namespace {

constexpr std::uint32_t cNone = 0x7FFFFF;
constexpr std::uint32_t cExternal = 0x7FFFFE;
constexpr std::size_t cSlotSize = 448;

struct Message
{
    unsigned state = 3;
    unsigned sender = 21;
    std::vector<unsigned> receivers = {3};
    std::uint32_t dataIndex = cNone;
};

template <typename Value>
void putAt(std::byte* place, Value value)
{
    std::memcpy(place, &value, sizeof value);
}

/// Message slots laid out byte by byte, in memory that ends at a page that cannot be read.
class Slots
{
public:
    explicit Slots(std::size_t count) : mSize((count * cSlotSize + cPage - 1) / cPage * cPage)
    {
        void* const memory = mmap(nullptr, mSize + cPage, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        EXPECT_NE(memory, MAP_FAILED);
        mprotect(memory, mSize, PROT_READ | PROT_WRITE);
        mMemory = static_cast<std::byte*>(memory);
        mFirst = mMemory + mSize - count * cSlotSize;
    }
    ~Slots() { munmap(mMemory, mSize + cPage); }
    Slots(const Slots&) = delete;
    Slots& operator=(const Slots&) = delete;

    oxa_zunic_message* first() const { return reinterpret_cast<oxa_zunic_message*>(mFirst); }

    void put(std::size_t number, const Message& message)
    {
        std::byte* const slot = mFirst + number * cSlotSize;
        putAt(slot, static_cast<std::uint16_t>(message.sender << 4 | message.state));
        putAt(slot + 2, std::uint16_t{65535});
        putAt(slot + 4, message.dataIndex);
        for (const unsigned id : message.receivers) {
            slot[8 + id / 8] |= std::byte(1U << id % 8);
        }
        putAt(slot + 392, std::uint32_t{4294967295});
        putAt(slot + 404, std::uint16_t{3});
        putAt(slot + 406, std::uint16_t{65535});
    }

    void putData(std::size_t number, std::uint32_t next) { put(number, {4, 30, {}, next}); }

private:
    static constexpr std::size_t cPage = 4096;

    std::size_t mSize;
    std::byte* mMemory = nullptr;
    std::byte* mFirst = nullptr;
};

class MessageDump : public testing::Test
{
protected:
    TestSupport::TemporaryDirectory mDirectory;
    OxaZunicEnquirerInterfaceTextFile mWriter{mDirectory.path().string()};
    InterfaceMap mInterfaces = TestSupport::mapOf(
        {makeInterface(3), makeInterface(4, {.state = OxaZunic::eOxaZunicRegistrationStatePreregistered}),
         makeInterface(5, {.state = OxaZunic::eOxaZunicRegistrationStateUnknown})});
    std::string mMessagesPath = mDirectory / "messages.txt";

    /// Returns what the dump wrote to standard output.
    std::string dump(const Slots& slots, std::uint32_t storageSize)
    {
        alignas(8) std::byte header[64] = {};
        putAt(header, std::uint32_t{4294967294});
        putAt(header + 4, std::uint16_t{65534});
        putAt(header + 48, storageSize);
        mWriter.setMessageStorage(reinterpret_cast<oxa_zunic_message_storage*>(header), slots.first());
        return TestSupport::printedBy([&] { mWriter.printMessageInfo(mInterfaces); }).output;
    }

    std::string dumped(const Slots& slots, std::uint32_t storageSize)
    {
        EXPECT_EQ(dump(slots, storageSize), "path " + mMessagesPath + "\n");
        EXPECT_THAT(mDirectory.entries(), testing::ElementsAre("messages.txt"));
        return TestSupport::readFile(mMessagesPath);
    }
};

TEST_F(MessageDump, EverySlotState)
{
    Slots slots(16);
    slots.put(0, {1, 4095});
    slots.put(1, {.state = 2, .receivers = {}, .dataIndex = 5});
    slots.put(2, {.sender = 1, .receivers = {3, 4, 5, 70}, .dataIndex = 5});
    slots.put(3, {3, 0});
    slots.put(4, {3, 1024});
    slots.put(5, {4, 4095, {}, 9});
    slots.put(6, {3, 1023, {0, 63, 64, 129, 1023}, cExternal});
    slots.put(7, {2, 0});
    slots.put(9, {4, 0, {}, cNone});
    slots.put(10, {5});
    slots.put(11, {15});
    slots.put(12, {1, 0});
    slots.put(15, {1, 0});
    EXPECT_EQ(dumped(slots, 16), TestSupport::expectedText("every_slot_state.txt"));
}

TEST_F(MessageDump, EndsOfAChain)
{
    constexpr auto cHeading = "This message has the following internal data entries:\n";
    const struct
    {
        std::uint32_t first;
        std::uint32_t next; ///< of the data entry in slot 1
        std::string entries;
    } cases[] = {
        {0xFF800001, 0xFFFFFFFF, "data[0]1\nSender id: 30\n"}, // Indices have 23 bits.
        {1, 1, "data[0]1\nSender id: 30\n"},
        {1, cExternal, "data[0]1\nSender id: 30\nERROR: Invalid message index found 8388606\n"},
        {3, cNone, "ERROR: Invalid message index found 3\n"},
        {2, cNone, "ERROR: Invalid data entry found 2\n"},
    };
    for (const auto& [first, next, entries] : cases) {
        Slots slots(3);
        slots.put(0, {.dataIndex = first});
        slots.putData(1, next);
        EXPECT_THAT(dumped(slots, 3), HasSubstr(cHeading + entries + "User data size for this message is"));
    }
}

TEST_F(MessageDump, PositionsInAChainAreCountedInSixteenBits)
{
    constexpr std::uint32_t cSize = 65539;
    Slots slots(cSize);
    slots.put(0, {.dataIndex = 1});
    for (std::uint32_t i = 1; i < cSize; ++i) {
        slots.putData(i, i + 1 < cSize ? i + 1 : 2);
    }
    EXPECT_THAT(dumped(slots, cSize), HasSubstr("\ndata[65535]65536\nSender id: 30\ndata[0]65537\nSender id: 30\n"
                                                "data[1]65538\nSender id: 30\nUser data size"));
}

TEST_F(MessageDump, EachChainIntoARingListsTheRingOnce)
{
    Slots slots(4);
    slots.put(0, {.dataIndex = 2});
    slots.put(1, {.dataIndex = 3});
    slots.putData(2, 3);
    slots.putData(3, 2);
    const std::string text = dumped(slots, 4);
    EXPECT_THAT(text, HasSubstr("\ndata[0]2\nSender id: 30\ndata[1]3\nSender id: 30\nUser data size"));
    EXPECT_THAT(text, HasSubstr("\ndata[0]3\nSender id: 30\ndata[1]2\nSender id: 30\nUser data size"));
}

TEST_F(MessageDump, ChainsAreCutAfterSixteenTimesAsManyEntriesAsSlots)
{
    constexpr std::uint32_t cTail = 40;
    constexpr std::uint32_t cSize = 2 * cTail;
    Slots slots(cSize);
    for (std::uint32_t i = 0; i < cTail; ++i) {
        slots.putData(i, i + 1 < cTail ? i + 1 : cNone);
        slots.put(cTail + i, {.dataIndex = 0});
    }
    const std::string text = dumped(slots, cSize);
    const auto count = [&](const std::string& what) {
        std::size_t found = 0;
        for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) {
            ++found;
        }
        return found;
    };
    // 32 messages list the whole tail, each of the other eight its first entry.
    EXPECT_EQ(count("\ndata[0]0\n"), cTail);
    EXPECT_EQ(count("\ndata[1]1\n"), 16 * cSize / cTail);
    EXPECT_EQ(count("\ndata[39]39\n"), 16 * cSize / cTail);
    EXPECT_EQ(count("User data size"), cTail);
}

TEST_F(MessageDump, IsCutOffInALineOfMoreThan199Characters)
{
    std::vector<unsigned> receivers(37); // as many as fill the line
    std::iota(receivers.begin(), receivers.end(), 100);
    Slots slots(1);
    slots.put(0, {.receivers = receivers});
    EXPECT_THAT(dumped(slots, 1), HasSubstr("[136]\nMessage writer counter: 65535\nUser data"));
    slots.put(0, {.receivers = {1023}});
    EXPECT_THAT(dumped(slots, 1), testing::EndsWith("[136]\n"));

    // Also where a block of what is copied ends in it.
    constexpr std::size_t cSlots = 120;
    receivers.push_back(1023);
    std::string text;
    for (std::size_t position = 40; position < cSlots; ++position) {
        Slots many(cSlots);
        for (std::size_t i = 0; i < cSlots; ++i) {
            many.put(i, {.receivers = i == position ? receivers : std::vector<unsigned>{}});
        }
        text = dumped(many, cSlots);
        EXPECT_THAT(text, testing::EndsWith("[136]\n")) << position;
    }
    EXPECT_GT(text.size(), 16'384);
}

TEST_F(MessageDump, SlotsThatCannotBeReadCountAsFree)
{
    Slots slots(9);
    slots.put(0, {.dataIndex = 1});
    slots.putData(1, 9);
    slots.put(8, {1, 0});
    for (const std::uint32_t size : {10U, 4294967295U}) {
        const std::string text = dumped(slots, size);
        EXPECT_THAT(text, HasSubstr("currently contains 3 messages\nThe total number of FREE messages is: " +
                                    std::to_string(size - 3) + "\n"));
        EXPECT_THAT(text, HasSubstr("ERROR: Invalid data entry found 9\nUser data size"));
        EXPECT_THAT(text, testing::EndsWith("Message slot number 8 is marked as RESERVED\nSender id: 0\n\n"));
    }
}

TEST_F(MessageDump, LeavesThePreviousOneWhereItCannotBeBackedUp)
{
    mWriter.setHistory(true);
    TestSupport::writeFile(mMessagesPath, "previous");
    std::filesystem::create_directory(mMessagesPath + ".bak");
    EXPECT_EQ(dump(Slots(0), 0),
              "path " + mMessagesPath + "\nerror backing up old output file\nError opening the output file\n");
    EXPECT_EQ(TestSupport::readFile(mMessagesPath), "previous");
    EXPECT_THAT(mDirectory.entries(), testing::ElementsAre("messages.txt", "messages.txt.bak"));
}

} // namespace
