#include "writer/line_writer.h"
#include "writer/text/message_slots.h"
#include "writer/text/oxa_zunic_enquirer_interface_text_file.h"

#include <algorithm>
#include <iterator>

namespace Oxa {

using namespace ChannelLayout;

namespace {

/// The ids that a set of receivers can hold are below this.
constexpr std::uint16_t cReceiverIds = 1024;

bool isEmpty(const oxa_zunic_receiver_bitfield_struct& receivers)
{
    return std::all_of(std::begin(receivers.words), std::end(receivers.words), [](auto word) { return word == 0; });
}

/// Follows the chain that starts at slot `first`. A chain that leads back into itself ends after as many steps as
/// there are slots to be read.
void writeInternalDataEntries(LineWriter& scratch, const MessageSlots& slots, std::uint32_t first)
{
    scratch << "This message has the following internal data entries:\n";
    std::uint16_t position = 0;
    std::uint32_t index = first;
    for (std::uint32_t step = 0; step < slots.readable(); ++step) {
        if (index >= slots.size()) {
            scratch << "ERROR: Invalid message index found " << index << endLine;
            return;
        }
        const SlotHead entry = slots.head(index);
        if (entry.state != eSlotStateData) {
            scratch << "ERROR: Invalid data entry found " << index << endLine;
            return;
        }
        scratch << "data[" << position << "]" << index << endLine;
        scratch << "Sender id: " << entry.senderId << "\n";
        ++position;
        index = slots.dataIndex(index);
        if (index == cNoDataEntry) {
            return;
        }
    }
}

void writeReceivers(LineWriter& scratch, const oxa_zunic_receiver_bitfield_struct& receivers,
                    const std::vector<bool>& isRegistered)
{
    scratch << "Receivers ID: ";
    forEachReceiver(receivers, [&](std::uint16_t id) {
        if (isRegistered[id]) {
            scratch << id;
        } else {
            scratch << "[" << id << "]";
        }
    });
    scratch << endLine;
}

void writeDataEntries(LineWriter& scratch, const MessageSlots& slots, std::uint32_t index)
{
    const std::uint32_t first = slots.dataIndex(index);
    if (first == cExternalDataEntry) {
        scratch << "This message has the following external data entry:\n";
        scratch << "memory_manager[" << slots.externalManagerIndex(index) << "] range["
                << slots.externalRangeIndex(index) << "]" << endLine;
    } else if (first != cNoDataEntry) {
        writeInternalDataEntries(scratch, slots, first);
    }
}

} // namespace

void OxaZunicEnquirerInterfaceTextFile::writeMessageAccount(LineWriter& scratch, const MessageSlots& slots,
                                                            std::uint32_t index, std::uint16_t senderId,
                                                            const std::vector<bool>& isRegistered)
{
    const oxa_zunic_receiver_bitfield_struct receivers = slots.receivers(index);
    scratch << "Sender id: " << senderId << "\n";
    if (isEmpty(receivers)) {
        scratch << "The message slot number " << index << " has no receivers\n" << cSlotSeparator;
        return;
    }
    scratch << "The message slot number " << index << " has valid receivers\n";
    writeReceivers(scratch, receivers, isRegistered);
    scratch << "Message writer counter: " << slots.writerCounter(index) << "\n";
    writeDataEntries(scratch, slots, index);
    scratch << "User data size for this message is " << slots.userDataSize(index) << " bit/s\n" << cSlotSeparator;
}

std::vector<bool> OxaZunicEnquirerInterfaceTextFile::registeredReceivers(const InterfaceMap& interfaces)
{
    // What is said of the receivers of a message is asked here for all of them at once.
    oxa_zunic_receiver_bitfield_struct known{};
    for (auto entry = interfaces.begin(); entry != interfaces.lower_bound(cReceiverIds); ++entry) {
        known.words[entry->first / 64] |= std::uint64_t{1} << (entry->first % 64);
    }
    ReceiverList ids;
    zunicReceiverBitfieldGetIDs(known, ids, interfaces);
    std::vector<bool> isRegistered(cReceiverIds);
    for (const auto& [id, isOneRegistered] : ids) {
        isRegistered[id] = isOneRegistered;
    }
    return isRegistered;
}

bool OxaZunicEnquirerInterfaceTextFile::zunicReceiverBitfieldGetIDs(const oxa_zunic_receiver_bitfield_struct& receivers,
                                                                    ReceiverList& ids, const InterfaceMap& interfaces)
{
    const std::size_t before = ids.size();
    forEachReceiver(
        receivers, [&](std::uint16_t id) { ids.emplace_back(id, zunicIsReceiverInterfaceRegistered(id, interfaces)); });
    return ids.size() > before;
}

bool OxaZunicEnquirerInterfaceTextFile::zunicIsReceiverInterfaceRegistered(std::uint16_t interfaceId,
                                                                           const InterfaceMap& interfaces)
{
    const auto found = interfaces.find(interfaceId);
    return found != interfaces.end() &&
           found->second.mRegistrationState == OxaZunic::eOxaZunicRegistrationStateRegistered;
}

} // namespace Oxa
