#include "writer/text/message_slots.h"
#include "writer/text/oxa_zunic_enquirer_interface_text_file.h"

#include <cstdio>

namespace Oxa {

using namespace ChannelLayout;

namespace {

constexpr std::uint16_t cFirstSenderId = 1;
constexpr std::uint16_t cLastSenderId = 1023;

/// The longest line that the copy of the scratch file carries on from, and its terminating zero.
constexpr std::size_t cLineBufferSize = 200;

bool isSender(std::uint16_t id)
{
    return id >= cFirstSenderId && id <= cLastSenderId;
}

void writeStorageHeader(std::ostream& scratch, const oxa_zunic_message_storage& storage, std::uint32_t storageSize)
{
    scratch << "Last Written message index: " << loadShared(storage.last_written_index) << "\n";
    scratch << "Writer counter: " << loadShared(storage.writer_counter) << "\n";
    scratch << "Message Storage Size: " << storageSize << "\n\n\n";
}

/// A line that does not fit the buffer ends the copy after its first part; the end of the file gives an empty line.
void copyLines(std::istream& from, std::ostream& to)
{
    char line[cLineBufferSize];
    while (from.good()) {
        from.getline(line, sizeof line);
        to << line << "\n";
    }
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
OxaZunicEnquirerInterfaceTextFile::writeSlotAccounts(std::ostream& scratch, const MessageSlots& slots,
                                                     const InterfaceMap& interfaces)
{
    SlotTotals totals;
    totals.free = slots.size() - slots.readable();
    for (std::uint32_t i = 0; i < slots.readable(); ++i) {
        const SlotHead head = slots.head(i);
        switch (head.state) {
        case eSlotStateReserved:
            ++totals.reserved;
            scratch << "Message slot number " << i << " is marked as RESERVED\n";
            scratch << "Sender id: " << head.senderId << "\n";
            break;
        case eSlotStateData:
            ++totals.data;
            scratch << "Message slot number " << i << " is DATA\n";
            scratch << "Sender id: " << head.senderId << "\n" << cSlotSeparator;
            break;
        case eSlotStateWritten:
            ++totals.written;
            scratch << "Message slot number " << i << " is marked as currently WRITTEN\n";
            writeMessageAccount(scratch, slots, i, head.senderId, interfaces);
            break;
        case eSlotStateMessage:
            if (isSender(head.senderId)) {
                scratch << "Message slot number " << i << "\n";
                writeMessageAccount(scratch, slots, i, head.senderId, interfaces);
            } else {
                ++totals.free;
            }
            break;
        default:
            ++totals.free;
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
        messages << "The message queue currently contains " << storageSize - totals.free << " messages\n";
        messages << "The total number of FREE messages is: " << totals.free << "\n";
        messages << "The total number of DATA messages is: " << totals.data << "\n";
        messages << "The total number of RESERVED messages is: " << totals.reserved << "\n";
        messages << "The total number of WRITTEN messages is: " << totals.written << "\n";
        messages << "\n";
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
