#include "writer/oxa_zunic_enquirer_writer_interface.h"

#include <climits>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <unistd.h>

namespace Oxa {

OxaZunicEnquirerWriterInterface::OxaZunicEnquirerWriterInterface(const std::string& outputDirectory)
    : mOutputDir(outputDirectory)
{}

OxaResult OxaZunicEnquirerWriterInterface::createOutputFile()
{
    mOutputFile.close();
    mOutputFile.open(mOutputFilePath, std::ios::out | std::ios::trunc);
    if (!mOutputFile.good()) {
        std::printf("Error opening the output file!\n");
        return OxaResult::cFailed;
    }
    return OxaResult::cOk;
}

OxaResult OxaZunicEnquirerWriterInterface::get_app_path(const std::string& path, char* buffer, int bufferSize)
{
    if (readlink(path.c_str(), buffer, static_cast<std::size_t>(bufferSize)) <= 0) {
        std::perror("readlink error");
        return OxaResult::cFailed;
    }
    return OxaResult::cOk;
}

OxaResult OxaZunicEnquirerWriterInterface::get_app_name(unsigned int processId, std::string& name)
{
    const std::string path = "/proc/" + std::to_string(processId) + "/exe";
    // Room for the longest path that the kernel reports, and its terminating zero.
    char buffer[PATH_MAX + 1] = {};
    const OxaResult result = get_app_path(path, buffer, PATH_MAX);
    if (result == OxaResult::cOk) {
        name = basename(buffer);
    } else {
        std::cout << "ERROR: Unable to find application name from " << path << std::endl;
    }
    return result;
}

} // namespace Oxa
