#ifndef ENQUIRER_OXA_ZUNIC_ENQUIRER_H
#define ENQUIRER_OXA_ZUNIC_ENQUIRER_H

#include "channel/record_types.h"
#include "writer/dot/oxa_zunic_enquirer_interface_dot_file.h"
#include "writer/text/oxa_zunic_enquirer_interface_text_file.h"

#include "oxa/oxa_result.h"
#include "oxa/oxa_zunic_communication_channel.h"

#include <string>

namespace Oxa {

/// Attaches to a channel, takes one snapshot of its registry, and answers queries about it or writes the reports.
///
/// Owns the channel handle from `init` until `cleanup`, which the owner calls before it destroys the enquirer.
class OxaZunicEnquirer
{
public:
    /// `history`: keep the previous message dump as a backup. `dotFile`: write the graph too.
    OxaZunicEnquirer(const std::string& outputDirectory, bool history, bool dotFile);

    OxaZunicEnquirer(const OxaZunicEnquirer&) = delete;
    OxaZunicEnquirer& operator=(const OxaZunicEnquirer&) = delete;

    /// Attaches and takes the snapshot. cObjectInvalid: no usable channel of that name; else the result of `readData`.
    OxaResult init(const std::string& channelName);

    /// Adds the registry of the attached channel to the snapshot, which outlives the channel. cFailed: the registry
    /// mutex could not be taken.
    OxaResult readData();

    /// Writes the reports. cNotInitialized: not attached; else the result of the last step that ran.
    OxaResult startEnquirer();

    /// Makes the output directory, not its parents. A path that exists already is fine; any other failure is told on
    /// standard error and has the errno value as its code.
    OxaResult createOutputDir();

    /// Releases the channel handle, if there is one.
    void cleanup();

    /// cOk when an interface of the snapshot fits, cObjectNotFound otherwise. An interface fits when at least one of
    /// the names is given (not empty), each given one is equal to its own, and so are the type and the state if used.
    OxaResult matchInterface(const std::string& interfaceName, const std::string& roleName,
                             const std::string& domainName, bool useType, InterfaceInstanceType type, bool useState,
                             OxaZunic::OxaZunicRegistrationState state);

private:
    oxa_zunic_communication_channel* mChannel = nullptr;
    std::string mOutputDir;
    bool mHistory;
    bool mDotFile;
    CommunicatorList mCommunicators;
    InterfaceMap mInterfaces;
    LinkMap mLinks;
    OxaZunicEnquirerInterfaceTextFile mTextWriter;
    OxaZunicEnquirerInterfaceDotFile mDotWriter;
};

} // namespace Oxa

#endif
