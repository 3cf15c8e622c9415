#include "support/records.h"
#include "support/temporary_directory.h"
#include "writer/text/oxa_zunic_enquirer_interface_text_file.h"

#include <algorithm>
#include <cstring>
#include <gmock/gmock.h>
#include <sys/mman.h>
#include <unistd.h>

using namespace Oxa;
using TestSupport::makeInterface;
using TestSupport::readFile;
using TestSupport::writeFile;

namespace {

constexpr std::uint32_t cNone = 0x7FFFFF;
constexpr std::uint32_t cExternal = 0x7FFFFE;
constexpr std::size_t cSlotSize = 448;

const std::string cSeparator = "\n\n" + std::string(76, '-') + "\n\n";

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
    InterfaceMap mInterfaces = TestSupport::mapOf({makeInterface(3)});
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
        testing::internal::CaptureStdout();
        mWriter.printMessageInfo(mInterfaces);
        mWriter.setMessageStorage(nullptr, nullptr);
        return testing::internal::GetCapturedStdout();
    }

    std::string dumped(const Slots& slots, std::uint32_t storageSize)
    {
        EXPECT_EQ(dump(slots, storageSize), mPathLine);
        EXPECT_THAT(mDirectory.entries(), testing::ElementsAre("messages.txt"));
        return readFile(mMessagesPath);
    }

    /// The data entries in the account of a message in slot 0 of a storage of ten.
    std::string dumpedEntries(const Slots& slots)
    {
        const std::string text = dumped(slots, 10);
        const std::string before = "Message writer counter: 65535\n";
        const std::string after = "User data size for this message is 4294967295 bit/s\n" + cSeparator;
        const std::size_t begin = text.find(before) + before.size();
        const std::size_t end = text.find(after, begin);
        EXPECT_NE(end, std::string::npos) << text;
        return text.substr(begin, end - begin);
    }
};

std::string totals(std::uint32_t queued, std::uint32_t free, unsigned data, unsigned reserved, unsigned written)
{
    return "The message queue currently contains " + std::to_string(queued) +
           " messages\nThe total number of FREE messages is: " + std::to_string(free) +
           "\nThe total number of DATA messages is: " + std::to_string(data) +
           "\nThe total number of RESERVED messages is: " + std::to_string(reserved) +
           "\nThe total number of WRITTEN messages is: " + std::to_string(written) + "\n\n";
}

std::string receiversLine(const std::vector<unsigned>& unregistered)
{
    std::string line = "Receivers ID: ";
    for (const unsigned id : unregistered) {
        line += "[" + std::to_string(id) + "]";
    }
    return line;
}

std::string storageHeader(std::uint32_t size)
{
    return "Last Written message index: 4294967294\nWriter counter: 65534\nMessage Storage Size: " +
           std::to_string(size) + "\n\n\n";
}

TEST_F(MessageDump, EverySlotState)
{
    Slots slots(16);
    slots.put(0, {1, 4095});
    slots.put(1, {.state = 2, .receivers = {}, .dataIndex = 5});
    slots.put(2, {.sender = 1, .receivers = {3, 70}, .dataIndex = 5});
    slots.put(3, {3, 0});
    slots.put(4, {3, 1024});
    slots.put(5, {4, 4095, {}, 9});
    slots.put(6, {3, 1023, {0, 63, 64, 129, 1023}, cExternal});
    slots.put(7, {2, 0});
    slots.put(9, {4, 0, {}, cNone});
    slots.put(10, {5});
    slots.put(11, {15});
    slots.put(15, {1, 0});
    EXPECT_EQ(dumped(slots, 16), totals(8, 8, 2, 2, 2) + storageHeader(16) +
                                     "Message slot number 0 is marked as RESERVED\nSender id: 4095\n"
                                     "Message slot number 1 is marked as currently WRITTEN\nSender id: 21\n"
                                     "The message slot number 1 has no receivers\n" +
                                     cSeparator +
                                     "Message slot number 2\nSender id: 1\n"
                                     "The message slot number 2 has valid receivers\n"
                                     "Receivers ID: 3[70]\n"
                                     "Message writer counter: 65535\n"
                                     "This message has the following internal data entries:\n"
                                     "data[0]5\nSender id: 4095\ndata[1]9\nSender id: 0\n"
                                     "User data size for this message is 4294967295 bit/s\n" +
                                     cSeparator + "Message slot number 5 is DATA\nSender id: 4095\n" + cSeparator +
                                     "Message slot number 6\nSender id: 1023\n"
                                     "The message slot number 6 has valid receivers\n"
                                     "Receivers ID: [0][63][64][129][1023]\n"
                                     "Message writer counter: 65535\n"
                                     "This message has the following external data entry:\n"
                                     "memory_manager[3] range[65535]\n"
                                     "User data size for this message is 4294967295 bit/s\n" +
                                     cSeparator +
                                     "Message slot number 7 is marked as currently WRITTEN\nSender id: 0\n"
                                     "The message slot number 7 has valid receivers\n"
                                     "Receivers ID: 3\n"
                                     "Message writer counter: 65535\n"
                                     "User data size for this message is 4294967295 bit/s\n" +
                                     cSeparator + "Message slot number 9 is DATA\nSender id: 0\n" + cSeparator +
                                     "Message slot number 15 is marked as RESERVED\nSender id: 0\n" + "\n");
}

TEST_F(MessageDump, StorageWithoutSlots)
{
    EXPECT_EQ(dumped(Slots(0), 0), totals(0, 0, 0, 0, 0) + storageHeader(0) + "\n");
}

TEST_F(MessageDump, OnlyRegisteredReceiversAreUnbracketed)
{
    mInterfaces.emplace(4, makeInterface(4, {.state = OxaZunic::eOxaZunicRegistrationStatePreregistered}));
    mInterfaces.emplace(5, makeInterface(5, {.state = OxaZunic::eOxaZunicRegistrationStateUnknown}));
    Slots slots(1);
    slots.put(0, {.receivers = {2, 3, 4, 5}});
    EXPECT_THAT(dumped(slots, 1), testing::HasSubstr("\nReceivers ID: [2]3[4][5]\n"));
}

TEST_F(MessageDump, EndsOfAChain)
{
    const std::string heading = "This message has the following internal data entries:\n";
    const std::string loop = "data[0]1\nSender id: 30\ndata[1]2\nSender id: 30\ndata[2]1\nSender id: 30\n"
                             "data[3]2\nSender id: 30\ndata[4]1\nSender id: 30\ndata[5]2\nSender id: 30\n"
                             "data[6]1\nSender id: 30\ndata[7]2\nSender id: 30\ndata[8]1\nSender id: 30\n"
                             "data[9]2\nSender id: 30\n";
    const struct
    {
        std::uint32_t first;
        std::uint32_t next; ///< of the data entry in slot 2, which slot 1 leads to
        std::string entries;
    } cases[] = {
        {cNone, cNone, ""},
        {0xFFFFFFFF, cNone, ""},
        {0xFF800002, 0xFFFFFFFF, heading + "data[0]2\nSender id: 30\n"},
        {1, cNone, heading + "data[0]1\nSender id: 30\ndata[1]2\nSender id: 30\n"},
        {1, 1, heading + loop},
        {10, cNone, heading + "ERROR: Invalid message index found 10\n"},
        {9, cNone, heading + "ERROR: Invalid data entry found 9\n"},
        {0, cNone, heading + "ERROR: Invalid data entry found 0\n"},
        {2, 8388605, heading + "data[0]2\nSender id: 30\nERROR: Invalid message index found 8388605\n"},
        {2, cExternal, heading + "data[0]2\nSender id: 30\nERROR: Invalid message index found 8388606\n"},
    };
    for (const auto& [first, next, entries] : cases) {
        SCOPED_TRACE(std::to_string(first) + ", " + std::to_string(next));
        Slots slots(10);
        slots.put(0, {.dataIndex = first});
        slots.putData(1, 2);
        slots.putData(2, next);
        EXPECT_EQ(dumpedEntries(slots), entries);
    }
}

TEST_F(MessageDump, PositionsInAChainAreCountedInSixteenBits)
{
    constexpr std::uint32_t cSize = 65538;
    Slots slots(cSize);
    slots.put(0, {.dataIndex = 1});
    slots.putData(1, 1);
    const std::string text = dumped(slots, cSize);
    EXPECT_THAT(text, testing::HasSubstr("\ndata[65535]1\nSender id: 30\ndata[0]1\nSender id: 30\n"
                                         "data[1]1\nSender id: 30\nUser data size"));
    EXPECT_THAT(text, testing::Not(testing::HasSubstr("data[65536]")));
}

TEST_F(MessageDump, LinesAreCopiedUpTo199Characters)
{
    // "[0]" takes three characters, "[10]" four and "[100]" five: what the first ids leave can be divided by five.
    const std::pair<std::size_t, std::vector<unsigned>> cases[] = {{198, {10}}, {199, {}}, {200, {0, 1}}};
    for (auto [length, receivers] : cases) {
        SCOPED_TRACE(length);
        while (receivers.empty() || receiversLine(receivers).size() < length) {
            receivers.push_back(receivers.empty() || receivers.back() < 100 ? 100 : receivers.back() + 1);
        }
        const std::string line = receiversLine(receivers);
        ASSERT_EQ(line.size(), length);

        Slots slots(1);
        slots.put(0, {.receivers = receivers});
        const std::string text = dumped(slots, 1);
        const std::string account = text.substr(text.find("Receivers ID: "));
        EXPECT_EQ(account, length == 200 ? line.substr(0, 199) + "\n"
                                         : line +
                                               "\nMessage writer counter: 65535\nUser data size for this message is "
                                               "4294967295 bit/s\n" +
                                               cSeparator + "\n");
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
        EXPECT_THAT(text, testing::StartsWith(totals(3, size - 3, 1, 1, 0) + storageHeader(size)));
        EXPECT_THAT(text, testing::HasSubstr("ERROR: Invalid data entry found 9\nUser data size"));
        EXPECT_THAT(text, testing::EndsWith("Message slot number 8 is marked as RESERVED\nSender id: 0\n\n"));
    }
}

TEST_F(MessageDump, HistoryKeepsThePreviousDump)
{
    writeFile(mMessagesPath, "previous");
    writeFile(mMessagesPath + ".bak", "older");
    mWriter.setHistory(false);
    EXPECT_EQ(dump(Slots(0), 0), mPathLine);
    EXPECT_EQ(readFile(mMessagesPath + ".bak"), "older");
    const std::string first = readFile(mMessagesPath);
    EXPECT_THAT(first, testing::StartsWith("The message queue"));

    mWriter.setHistory(true);
    EXPECT_EQ(dump(Slots(1), 1), mPathLine);
    EXPECT_EQ(readFile(mMessagesPath + ".bak"), first);
    EXPECT_NE(readFile(mMessagesPath), first);
    EXPECT_THAT(mDirectory.entries(), testing::ElementsAre("messages.txt", "messages.txt.bak"));
}

TEST_F(MessageDump, PreviousDumpThatCannotBeMovedStays)
{
    writeFile(mMessagesPath, "previous");
    std::filesystem::create_directory(mMessagesPath + ".bak");
    mWriter.setHistory(true);
    EXPECT_EQ(dump(Slots(0), 0), mPathLine + "error backing up old output file\n" + "Error opening the output file\n");
    EXPECT_EQ(readFile(mMessagesPath), "previous");
    EXPECT_THAT(mDirectory.entries(), testing::ElementsAre("messages.txt", "messages.txt.bak"));
}

TEST_F(MessageDump, DirectoryInPlaceOfTheDump)
{
    std::filesystem::create_directory(mMessagesPath);
    EXPECT_EQ(dump(Slots(0), 0), mPathLine + "Error opening the output file\n");
    EXPECT_THAT(mDirectory.entries(), testing::ElementsAre("messages.txt"));

    // A directory can be opened for reading, and so it is moved like a file.
    mWriter.setHistory(true);
    EXPECT_EQ(dump(Slots(0), 0), mPathLine);
    EXPECT_TRUE(std::filesystem::is_directory(mMessagesPath + ".bak"));
    EXPECT_TRUE(std::filesystem::is_regular_file(mMessagesPath));
}

TEST_F(MessageDump, NothingWithoutScratchFileOrStorage)
{
    writeFile(mMessagesPath, "previous");
    mWriter.setHistory(true);
    testing::internal::CaptureStdout();
    mWriter.printMessageInfo(mInterfaces);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");

    std::filesystem::create_directory(mDirectory / "temp.txt");
    EXPECT_EQ(dump(Slots(0), 0), "");
    EXPECT_EQ(readFile(mMessagesPath), "previous");
    EXPECT_THAT(mDirectory.entries(), testing::ElementsAre("messages.txt", "temp.txt"));
}

} // namespace
