#ifndef WRITER_OXA_ZUNIC_ENQUIRER_WRITER_INTERFACE_H
#define WRITER_OXA_ZUNIC_ENQUIRER_WRITER_INTERFACE_H

#include "channel/record_types.h"

#include "oxa/oxa_result.h"
#include "oxa/oxa_zunic_function_storage.h"

#include <fstream>
#include <list>
#include <string>

namespace Oxa {

/// Base of the report writers: the output file, and the words and numbers that all reports spell records with.
class OxaZunicEnquirerWriterInterface
{
public:
    explicit OxaZunicEnquirerWriterInterface(const std::string& outputDirectory);
    virtual ~OxaZunicEnquirerWriterInterface() = default;

    OxaZunicEnquirerWriterInterface(const OxaZunicEnquirerWriterInterface&) = delete;
    OxaZunicEnquirerWriterInterface& operator=(const OxaZunicEnquirerWriterInterface&) = delete;

    /// Writes the whole report. cFailed when its file cannot be opened or the snapshot lacks what it is about.
    virtual OxaResult writeData(const CommunicatorList& communicators, const InterfaceMap& interfaces,
                                LinkMap& links) = 0;

    /// Opens the output file, emptied. cFailed, with a message on standard output, when it cannot be opened.
    OxaResult createOutputFile();

    std::string createType(InterfaceInstanceType type);
    std::string convertRegistrationState(OxaZunic::OxaZunicRegistrationState state);
    std::string versionNumberToString(Version version);

    /// One field of a record as text; an unknown field name gives the empty string.
    std::string decodeInterface(OxaZunic::OxaZunicInterfaceInformation info, std::string fieldName);
    std::string decodeCommunicator(OxaZunic::OxaZunicCommunicatorInformation info, std::string fieldName);

    /// Appends a line "<tab><position> | <name>" to `functions` for each function of the interface.
    /// Returns the result of oxa_zunic_function_storage_map. Nothing is appended unless it is 0 and the storage valid.
    int decodeFunctionStorage(const OxaZunic::OxaZunicInterfaceInformation& info,
                              oxa_zunic_memory_dispatcher_struct* dispatcher, std::list<std::string>& functions);

    /// Reads the symbolic link `path` into `buffer`, without a terminating NUL. cFailed, with the system's reason on
    /// standard error, when it cannot be read.
    OxaResult get_app_path(const std::string& path, char* buffer, int bufferSize);

    /// The name of the executable that runs as `processId`. cFailed, with `name` unchanged and a message on standard
    /// output, when there is none or it may not be known.
    OxaResult get_app_name(unsigned int processId, std::string& name);

protected:
    std::string mOutputDir;
    std::string mMessagesFilePath;
    std::string mOutputFilePath;
    std::string mTempFilePath;
    std::ofstream mOutputFile;
};

} // namespace Oxa

#endif
