#ifndef WRITER_TEXT_OXA_ZUNIC_ENQUIRER_INTERFACE_TEXT_FILE_H
#define WRITER_TEXT_OXA_ZUNIC_ENQUIRER_INTERFACE_TEXT_FILE_H

#include "channel/data_chains.h"
#include "channel/function_names.h"
#include "writer/line_writer.h"
#include "writer/oxa_zunic_enquirer_writer_interface.h"
#include "writer/text/report_index.h"

#include <array>
#include <cstdint>
#include <fstream>
#include <memory>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

namespace Oxa {

/// Writes the text report (interfaces, communicators, memory managers) and the dump of the message storage.
///
/// The message storage and the memory managers are read from the channel while the report is written, without a lock.
class OxaZunicEnquirerInterfaceTextFile : public OxaZunicEnquirerWriterInterface
{
public:
    /// Receivers of a message: interface id, and whether that interface is registered.
    using ReceiverList = std::vector<std::pair<std::uint16_t, bool>>;

    explicit OxaZunicEnquirerInterfaceTextFile(const std::string& outputDirectory);

    /// What these point to stays the channel's, and has to stay mapped until it is set to null again.
    void setMessageStorage(oxa_zunic_message_storage* storage, oxa_zunic_message* messages)
    {
        mMessageStorage = storage;
        mMessages = messages;
    }
    void setMemoryDispatcher(oxa_zunic_memory_dispatcher_struct* dispatcher) { mMemoryDispatcher = dispatcher; }

    /// Whether the previous message dump is kept, with ".bak" appended to its name.
    void setHistory(bool history) { mHistory = history; }

    OxaResult writeData(const CommunicatorList& communicators, const InterfaceMap& interfaces, LinkMap& links) override;

    /// Writes the box that opens a section. All boxes line up for titles of 20 characters.
    void createHeader(std::ofstream* out, std::string title);

    /// Moves the file at `path` to its backup name if history is on. False, with a message on standard output, when
    /// there is a file that cannot be moved.
    bool createBackupFile(const std::string& path);

    /// cFailed when there are no interfaces.
    OxaResult writeInterfacesFile(const InterfaceMap& interfaces, std::ofstream* out, LinkMap& links);
    void showAvailableFunctions(const OxaZunic::OxaZunicInterfaceInformation& info, std::ofstream* out);
    /// Outside of `writeData` each call goes through all links.
    void showConnectedInterfaces(const InterfaceMap& interfaces, std::uint32_t interfaceId, std::ofstream* out,
                                 LinkMap& links);

    /// cFailed when there are no communicators.
    OxaResult writeCommunicatorsFile(const CommunicatorList& communicators, std::ofstream* out);

    void printMemoryInfo(std::ofstream* out);

    /// Writes the message dump: the account of the slots into the scratch file, then, headed by the totals, into the
    /// messages file. Failures are told on standard output.
    void printMessageInfo(const InterfaceMap& interfaces);
    /// Appends the ids of the set in ascending order. True when there is one.
    bool zunicReceiverBitfieldGetIDs(const oxa_zunic_receiver_bitfield_struct& receivers, ReceiverList& ids,
                                     const InterfaceMap& interfaces);
    bool zunicIsReceiverInterfaceRegistered(std::uint16_t interfaceId, const InterfaceMap& interfaces);

private:
    /// Ends the account of a slot: two empty lines, a rule and an empty line.
    static constexpr auto cSlotSeparator =
        "\n\n----------------------------------------------------------------------------\n\n";

    using SlotTotals = std::array<std::uint32_t, Channel::cSlotStates>; ///< by state

    void writeInterfaceBlock(const OxaZunic::OxaZunicInterfaceInformation& info, std::ofstream* out);

    SlotTotals writeSlotAccounts(std::ostream& file, const Channel::MessageSlots& slots,
                                 const InterfaceMap& interfaces);
    void writeMessageAccount(Writer::LineWriter& scratch, const Channel::MessageSlots& slots,
                             Channel::DataChains& chains, std::uint32_t index, std::uint16_t senderId,
                             const InterfaceMap& interfaces);
    void writeReceivers(Writer::LineWriter& scratch, const oxa_zunic_receiver_bitfield_struct& receivers,
                        const InterfaceMap& interfaces);
    void buildMessagesFile(std::uint32_t storageSize, const SlotTotals& totals);

    bool mHistory = false;
    oxa_zunic_message_storage* mMessageStorage = nullptr;
    oxa_zunic_message* mMessages = nullptr;
    oxa_zunic_memory_dispatcher_struct* mMemoryDispatcher = nullptr;
    std::size_t mFunctionBytesLeft = Channel::cMostFunctionNameBytes; ///< of one report
    std::shared_ptr<const Writer::ReportIndex> mIndex;                ///< of the containers that `writeData` is writing
};

} // namespace Oxa

#endif
