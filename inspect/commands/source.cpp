#include "inspect/commands/source.h"

#include "inspect/commands/source.h"
#include "inspect/saved/state_json.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>
#include <thread>

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

std::vector<BusState> takeLooks(const LookSource& source)
{
    std::vector<BusState> looks;
    for (const std::string& file : source.mFrom) {
        looks.push_back(readSource({.mChannel = {}, .mFrom = file}, Wanted::everything()));
    }
    if (looks.empty()) {
        looks.push_back(takeState(source.mChannel, Wanted::everything()));
        if (source.mAgain.count() > 0) {
            std::this_thread::sleep_for(source.mAgain);
            looks.push_back(takeState(source.mChannel, Wanted::everything()));
        }
    }
    return looks;
}

} // namespace Inspect
