#include "support/records.h"
#include "support/text.h"
#include "writer/text/oxa_zunic_enquirer_interface_text_file.h"

#include <algorithm>
#include <cstring>
#include <gmock/gmock.h>
#include <sys/mman.h>
#include <unistd.h>

using namespace Oxa;
using testing::ElementsAre;
using testing::HasSubstr;
using TestSupport::makeInterface;
using TestSupport::readFile;
using TestSupport::writeFile;

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

    template <typename Value>
    void put(std::size_t slot, std::size_t offset, Value value)
    {
        std::memcpy(mFirst + slot * cSlotSize + offset, &value, sizeof value);
    }

    void put(std::size_t slot, const Message& message)
    {
        put(slot, 0, static_cast<std::uint16_t>(message.sender << 4 | message.state));
        put(slot, 2, std::uint16_t{65535});
        put(slot, 4, message.dataIndex);
        for (const unsigned id : message.receivers) {
            mFirst[slot * cSlotSize + 8 + id / 8] |= std::byte(1U << id % 8);
        }
        put(slot, 392, std::uint32_t{4294967295});
        put(slot, 404, std::uint16_t{3});
        put(slot, 406, std::uint16_t{65535});
    }

    void putData(std::size_t slot, std::uint32_t next) { put(slot, {4, 30, {}, next}); }

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
    std::string mPathLine = "path " + mMessagesPath + "\n";

    /// Returns what the dump wrote to standard output.
    std::string dump(const Slots& slots, std::uint32_t storageSize)
    {
        alignas(8) std::byte header[64] = {};
        const std::uint32_t lastWritten = 4294967294;
        const std::uint16_t writerCounter = 65534;
        std::memcpy(header, &lastWritten, sizeof lastWritten);
        std::memcpy(header + 4, &writerCounter, sizeof writerCounter);
        std::memcpy(header + 48, &storageSize, sizeof storageSize);
        mWriter.setMessageStorage(reinterpret_cast<oxa_zunic_message_storage*>(header), slots.first());
        const std::string output = TestSupport::printedBy([&] { mWriter.printMessageInfo(mInterfaces); }).output;
        mWriter.setMessageStorage(nullptr, nullptr);
        return output;
    }

    std::string dumped(const Slots& slots, std::uint32_t storageSize)
    {
        EXPECT_EQ(dump(slots, storageSize), mPathLine);
        EXPECT_THAT(mDirectory.entries(), ElementsAre("messages.txt"));
        return readFile(mMessagesPath);
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
    slots.put(15, {1, 0});
    EXPECT_EQ(dumped(slots, 16), TestSupport::expectedText("every_slot_state.txt"));
}

TEST_F(MessageDump, EndsOfAChain)
{
    std::string loop;
    for (int position = 0; position < 10; ++position) {
        loop += "data[" + std::to_string(position) + "]" + std::to_string(1 + position % 2) + "\nSender id: 30\n";
    }
    const struct
    {
        std::uint32_t first;
        std::uint32_t next; ///< of the data entry in slot 2, which slot 1 leads to
        std::string entries;
    } cases[] = {
        {cNone, cNone, ""},
        {0xFFFFFFFF, cNone, ""},
        {0xFF800002, 0xFFFFFFFF, "data[0]2\nSender id: 30\n"},
        {1, cNone, "data[0]1\nSender id: 30\ndata[1]2\nSender id: 30\n"},
        {1, 1, loop},
        {10, cNone, "ERROR: Invalid message index found 10\n"},
        {9, cNone, "ERROR: Invalid data entry found 9\n"},
        {0, cNone, "ERROR: Invalid data entry found 0\n"},
        {2, 8388605, "data[0]2\nSender id: 30\nERROR: Invalid message index found 8388605\n"},
        {2, cExternal, "data[0]2\nSender id: 30\nERROR: Invalid message index found 8388606\n"},
    };
    for (const auto& [first, next, entries] : cases) {
        SCOPED_TRACE(std::to_string(first) + ", " + std::to_string(next));
        Slots slots(10);
        slots.put(0, {.dataIndex = first});
        slots.putData(1, 2);
        slots.putData(2, next);
        const std::string heading = "This message has the following internal data entries:\n";
        EXPECT_THAT(dumped(slots, 10),
                    HasSubstr("Message writer counter: 65535\n" + (entries.empty() ? "" : heading + entries) +
                              "User data size for this message is 4294967295 bit/s\n"));
    }
}

TEST_F(MessageDump, PositionsInAChainAreCountedInSixteenBits)
{
    constexpr std::uint32_t cSize = 65538;
    Slots slots(cSize);
    slots.put(0, {.dataIndex = 1});
    slots.putData(1, 1);
    EXPECT_THAT(dumped(slots, cSize), HasSubstr("\ndata[65535]1\nSender id: 30\ndata[0]1\nSender id: 30\n"
                                                "data[1]1\nSender id: 30\nUser data size"));
}

TEST_F(MessageDump, LinesAreCopiedUpTo199Characters)
{
    // "[0]" takes three characters, "[10]" four and "[100]" five: what the first ids leave can be divided by five.
    const std::pair<std::size_t, std::vector<unsigned>> cases[] = {{198, {10}}, {199, {}}, {200, {0, 1}}};
    for (auto [length, receivers] : cases) {
        SCOPED_TRACE(length);
        std::string line = "Receivers ID: ";
        const auto addToLine = [&line](unsigned id) { line.append("[").append(std::to_string(id)).append("]"); };
        std::for_each(receivers.begin(), receivers.end(), addToLine);
        for (unsigned id = 100; line.size() < length; ++id) {
            receivers.push_back(id);
            addToLine(id);
        }
        ASSERT_EQ(line.size(), length);

        Slots slots(1);
        slots.put(0, {.receivers = receivers});
        const std::string text = dumped(slots, 1);
        const std::string account = text.substr(text.find("Receivers ID: "));
        if (length == 200) {
            EXPECT_EQ(account, line.substr(0, 199) + "\n");
        } else {
            EXPECT_THAT(account, testing::StartsWith(line + "\nMessage writer counter: 65535\nUser data"));
        }
    }
}

TEST_F(MessageDump, SlotsThatCannotBeReadCountAsFree)
{
    Slots slots(9);
    slots.put(0, {.dataIndex = 1});
    slots.putData(1, 9);
    slots.put(8, {1, 0});
    for (const std::uint32_t size : {10U, 100000U, 4294967295U}) {
        const std::string text = dumped(slots, size);
        EXPECT_THAT(text, testing::StartsWith("The message queue currently contains 3 messages\n"
                                              "The total number of FREE messages is: " +
                                              std::to_string(size - 3) + "\n"));
        EXPECT_THAT(text, HasSubstr("ERROR: Invalid data entry found 9\nUser data size"));
        EXPECT_THAT(text, testing::EndsWith("Message slot number 8 is marked as RESERVED\nSender id: 0\n\n"));
    }
    EXPECT_THAT(dumped(Slots(0), 0), testing::EndsWith("Message Storage Size: 0\n\n\n\n"));
}

TEST_F(MessageDump, DirectoriesInPlaceOfItsFiles)
{
    mWriter.setHistory(true);
    writeFile(mMessagesPath, "previous");
    std::filesystem::create_directory(mMessagesPath + ".bak");
    EXPECT_EQ(dump(Slots(0), 0), mPathLine + "error backing up old output file\nError opening the output file\n");
    EXPECT_EQ(readFile(mMessagesPath), "previous");
    EXPECT_THAT(mDirectory.entries(), ElementsAre("messages.txt", "messages.txt.bak"));

    std::filesystem::create_directory(mDirectory / "temp.txt");
    EXPECT_EQ(dump(Slots(0), 0), "");
    EXPECT_EQ(readFile(mMessagesPath), "previous");

    // A directory can be opened for reading, and so it is moved like a file.
    std::filesystem::remove(mDirectory / "temp.txt");
    std::filesystem::remove(mMessagesPath);
    std::filesystem::create_directory(mMessagesPath);
    EXPECT_EQ(dump(Slots(0), 0), mPathLine);
    EXPECT_TRUE(std::filesystem::is_regular_file(mMessagesPath));
}

} // namespace
