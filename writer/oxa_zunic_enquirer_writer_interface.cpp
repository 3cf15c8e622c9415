#include "writer/oxa_zunic_enquirer_writer_interface.h"

#include <cstdio>

namespace Oxa {

OxaZunicEnquirerWriterInterface::OxaZunicEnquirerWriterInterface(const std::string& outputDirectory)
    : mOutputDir(outputDirectory)
{}

OxaZunicEnquirerWriterInterface::~OxaZunicEnquirerWriterInterface() = default;

OxaResult OxaZunicEnquirerWriterInterface::createOutputFile()
{
    if (mOutputFile.is_open()) {
        mOutputFile.close();
    }
    mOutputFile.open(mOutputFilePath, std::ios::out | std::ios::trunc);
    if (!mOutputFile.good()) {
        std::printf("Error opening the output file!\n");
        return OxaResult::cFailed;
    }
    return OxaResult::cOk;
}

} // namespace Oxa
