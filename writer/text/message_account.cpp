#include "writer/text/oxa_zunic_enquirer_interface_text_file.h"

namespace Oxa {

using namespace Channel;
using Writer::endLine;
using Writer::LineWriter;

namespace {

void writeInternalDataEntries(LineWriter& scratch, const DataChain& chain)
{
    scratch << "This message has the following internal data entries:\n";
    std::uint16_t position = 0;
    for (const DataEntry& entry : chain.mEntries) {
        scratch << "data[" << position++ << "]" << entry.mIndex << endLine;
        scratch << "Sender id: " << entry.mSenderId << "\n";
    }
    if (chain.mEnd == ChainEnd::eInvalidIndex) {
        scratch << "ERROR: Invalid message index found " << chain.mNextIndex << endLine;
    } else if (chain.mEnd == ChainEnd::eNotData) {
        scratch << "ERROR: Invalid data entry found " << chain.mNextIndex << endLine;
    }
}

void writeDataEntries(LineWriter& scratch, const SlotFields& message, DataChains& chains, std::uint32_t index)
{
    if (message.mDataIndex == cExternalDataEntry) {
        scratch << "This message has the following external data entry:\n";
        scratch << "memory_manager[" << message.mExternal.mMemoryManagerIndex << "] range["
                << message.mExternal.mRangeIndex << "]" << endLine;
    } else if (message.mDataIndex != cNoDataEntry) {
        writeInternalDataEntries(scratch, chains.follow(index, message.mDataIndex));
    }
}

} // namespace

void OxaZunicEnquirerInterfaceTextFile::writeMessageAccount(LineWriter& scratch, const MessageSlots& slots,
                                                            DataChains& chains, std::uint32_t index,
                                                            std::uint16_t senderId, const InterfaceMap& interfaces)
{
    const SlotFields message = slots.fields(index);
    scratch << "Sender id: " << senderId << "\n";
    if (countReceivers(message.mReceivers) == 0) {
        scratch << "The message slot number " << index << " has no receivers\n" << cSlotSeparator;
        return;
    }
    scratch << "The message slot number " << index << " has valid receivers\n";
    writeReceivers(scratch, message.mReceivers, interfaces);
    scratch << "Message writer counter: " << message.mWriterCounter << "\n";
    writeDataEntries(scratch, message, chains, index);
    scratch << "User data size for this message is " << message.mUserDataSize << " bit/s\n" << cSlotSeparator;
}

void OxaZunicEnquirerInterfaceTextFile::writeReceivers(LineWriter& scratch,
                                                       const oxa_zunic_receiver_bitfield_struct& receivers,
                                                       const InterfaceMap& interfaces)
{
    ReceiverList ids;
    if (!zunicReceiverBitfieldGetIDs(receivers, ids, interfaces)) {
        return;
    }
    scratch << "Receivers ID: ";
    for (const auto& [id, isRegistered] : ids) {
        if (isRegistered) {
            scratch << id;
        } else {
            scratch << "[" << id << "]";
        }
    }
    scratch << endLine;
}

bool OxaZunicEnquirerInterfaceTextFile::zunicReceiverBitfieldGetIDs(const oxa_zunic_receiver_bitfield_struct& receivers,
                                                                    ReceiverList& ids, const InterfaceMap& interfaces)
{
    const std::size_t before = ids.size();
    ids.reserve(before + countReceivers(receivers));
    forEachReceiver(
        receivers, [&](std::uint16_t id) { ids.emplace_back(id, zunicIsReceiverInterfaceRegistered(id, interfaces)); });
    return ids.size() > before;
}

bool OxaZunicEnquirerInterfaceTextFile::zunicIsReceiverInterfaceRegistered(std::uint16_t interfaceId,
                                                                           const InterfaceMap& interfaces)
{
    if (mIndex != nullptr && mIndex->isOf(interfaces)) {
        return mIndex->isRegistered(interfaceId);
    }
    const auto found = interfaces.find(interfaceId);
    return found != interfaces.end() &&
           found->second.mRegistrationState == OxaZunic::eOxaZunicRegistrationStateRegistered;
}

} // namespace Oxa
