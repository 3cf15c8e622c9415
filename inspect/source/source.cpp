#include "inspect/source/source.h"

#include "inspect/json/state_json.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>

namespace Inspect {

namespace {

BusState readFrom(std::istream& in, const std::string& name)
{
    try {
        return readState(in);
    } catch (const NoState& error) {
        throw NoState(name + ": " + error.what());
    }
}

} // namespace

BusState readSource(const SourceOptions& source, const Wanted& wanted)
{
    if (source.mFrom.empty()) {
        return takeState(source.mChannel, wanted);
    }
    if (source.mFrom == "-") {
        return readFrom(std::cin, "standard input");
    }
    std::ifstream file(source.mFrom, std::ios::binary);
    if (!file.is_open()) {
        throw NoState(source.mFrom + ": " + std::strerror(errno));
    }
    return readFrom(file, source.mFrom);
}

} // namespace Inspect
