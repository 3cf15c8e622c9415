#include "writer/text/oxa_zunic_enquirer_interface_text_file.h"

#include <cstdio>

namespace Oxa {

OxaZunicEnquirerInterfaceTextFile::OxaZunicEnquirerInterfaceTextFile(const std::string& outputDirectory)
    : OxaZunicEnquirerWriterInterface(outputDirectory)
{
    mMessagesFilePath = mOutputDir + "/messages.txt";
    mOutputFilePath = mOutputDir + "/interfaces_communicators_info.txt";
    mTempFilePath = mOutputDir + "/temp.txt";
}

OxaResult OxaZunicEnquirerInterfaceTextFile::writeData(const CommunicatorList& communicators,
                                                       const InterfaceMap& interfaces, LinkMap& links)
{
    OxaResult result = createOutputFile();
    if (result != OxaResult::cOk) {
        return result;
    }
    mFunctionBytesLeft = Channel::cMostFunctionNameBytes;
    mIndex = std::make_shared<const Writer::ReportIndex>(interfaces, links);
    result = writeInterfacesFile(interfaces, &mOutputFile, links);
    if (result == OxaResult::cOk) {
        result = writeCommunicatorsFile(communicators, &mOutputFile);
    }
    if (result == OxaResult::cOk) {
        printMessageInfo(interfaces);
        printMemoryInfo(&mOutputFile);
    }
    mIndex.reset();
    std::printf("path %s\n", mOutputFilePath.c_str());
    mOutputFile.close();
    return result;
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): by value in the writer's interface.
void OxaZunicEnquirerInterfaceTextFile::createHeader(std::ofstream* out, std::string title)
{
    constexpr auto cEdge = "###########################################\n";
    constexpr auto cSides = "#                                         #\n";
    *out << "\n\n" << cEdge << cSides;
    *out << "#      " << title << "               #\n";
    *out << cSides << cEdge << std::endl;
}

bool OxaZunicEnquirerInterfaceTextFile::createBackupFile(const std::string& path)
{
    std::printf("path %s\n", path.c_str());
    if (!mHistory) {
        return true;
    }
    std::FILE* const previous = std::fopen(path.c_str(), "r");
    if (previous == nullptr) {
        return true;
    }
    std::fclose(previous);
    if (std::rename(path.c_str(), (path + ".bak").c_str()) != 0) {
        std::printf("error backing up old output file\n");
        return false;
    }
    return true;
}

} // namespace Oxa
