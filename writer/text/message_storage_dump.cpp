#include "writer/text/oxa_zunic_enquirer_interface_text_file.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <string_view>

namespace Oxa {

using namespace Channel;

namespace {

/// Readers of the dump know its lines to be no longer: the first one that is longer is cut, and ends the dump.
constexpr std::size_t cLongestLine = 199;

void writeStorageHeader(std::ostream& scratch, const oxa_zunic_message_storage& storage, std::uint32_t storageSize)
{
    scratch << "Last Written message index: " << loadShared(storage.last_written_index) << "\n";
    scratch << "Writer counter: " << loadShared(storage.writer_counter) << "\n";
    scratch << "Message Storage Size: " << storageSize << "\n\n\n";
}

/// How much of `text` comes before the first character that makes its line too long. `lineLength` is what the line
/// that goes on at the beginning has already, and afterwards what the one has that goes on at the end.
std::size_t sizeWithinLimit(std::string_view text, std::size_t& lineLength)
{
    std::size_t begin = 0;
    while (true) {
        const std::size_t end = std::min(text.find('\n', begin), text.size());
        if (lineLength + (end - begin) > cLongestLine) {
            return begin + (cLongestLine - lineLength);
        }
        if (end == text.size()) {
            lineLength += end - begin;
            return end;
        }
        lineLength = 0;
        begin = end + 1;
    }
}

/// Copies up to the first character that makes a line too long, and puts a line end behind all.
void copyLines(std::istream& from, std::ostream& to)
{
    std::array<char, 16'384> block;
    std::size_t lineLength = 0;
    bool isWithinLimit = true;
    while (from.good() && isWithinLimit) {
        from.read(block.data(), static_cast<std::streamsize>(block.size()));
        const std::string_view text(block.data(), static_cast<std::size_t>(from.gcount()));
        const std::size_t size = sizeWithinLimit(text, lineLength);
        to.write(text.data(), static_cast<std::streamsize>(size));
        isWithinLimit = size == text.size();
    }
    to << "\n";
}

} // namespace

void OxaZunicEnquirerInterfaceTextFile::printMessageInfo(const InterfaceMap& interfaces)
{
    if (mMessageStorage == nullptr) {
        return;
    }
    std::ofstream scratch(mTempFilePath, std::ios::out | std::ios::trunc);
    if (!scratch.is_open()) {
        return;
    }
    const MessageSlots slots(*mMessageStorage, mMessages);
    writeStorageHeader(scratch, *mMessageStorage, slots.size());
    const SlotTotals totals = writeSlotAccounts(scratch, slots, interfaces);
    scratch.close();
    buildMessagesFile(slots.size(), totals);
}

OxaZunicEnquirerInterfaceTextFile::SlotTotals
OxaZunicEnquirerInterfaceTextFile::writeSlotAccounts(std::ostream& file, const MessageSlots& slots,
                                                     const InterfaceMap& interfaces)
{
    Writer::LineWriter scratch(file);
    DataChains chains(slots);
    SlotTotals totals{};
    totals[eSlotStateFree] = slots.size() - slots.readable();
    for (std::uint32_t i = 0; i < slots.readable(); ++i) {
        const SlotHead head = slots.head(i);
        ++totals[head.mState];
        switch (head.mState) {
        case eSlotStateReserved:
            scratch << "Message slot number " << i << " is marked as RESERVED\n";
            scratch << "Sender id: " << head.mSenderId << "\n";
            break;
        case eSlotStateData:
            scratch << "Message slot number " << i << " is DATA\n";
            scratch << "Sender id: " << head.mSenderId << "\n" << cSlotSeparator;
            break;
        case eSlotStateWritten:
        case eSlotStateMessage:
            scratch << "Message slot number " << i;
            scratch << (head.mState == eSlotStateWritten ? " is marked as currently WRITTEN\n" : "\n");
            writeMessageAccount(scratch, slots, chains, i, head.mSenderId, interfaces);
            break;
        case eSlotStateFree:
            break;
        }
    }
    return totals;
}

void OxaZunicEnquirerInterfaceTextFile::buildMessagesFile(std::uint32_t storageSize, const SlotTotals& totals)
{
    std::ifstream scratch(mTempFilePath);
    std::ofstream messages;
    if (createBackupFile(mMessagesFilePath)) {
        messages.open(mMessagesFilePath, std::ios::out | std::ios::trunc);
    }
    if (messages.is_open() && scratch.is_open()) {
        messages << "The message queue currently contains " << storageSize - totals[eSlotStateFree] << " messages\n";
        messages << "The total number of FREE messages is: " << totals[eSlotStateFree] << "\n";
        messages << "The total number of DATA messages is: " << totals[eSlotStateData] << "\n";
        messages << "The total number of RESERVED messages is: " << totals[eSlotStateReserved] << "\n";
        messages << "The total number of WRITTEN messages is: " << totals[eSlotStateWritten] << "\n\n";
        copyLines(scratch, messages);
    } else {
        std::printf("Error opening the output file\n");
    }
    messages.close();
    if (std::remove(mTempFilePath.c_str()) != 0) {
        std::printf("Error deleting temporary file\n");
    }
}

} // namespace Oxa
