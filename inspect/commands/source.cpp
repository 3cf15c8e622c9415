#include "inspect/commands/source.h"

#include "inspect/saved/read_file.h"
#include "inspect/saved/state_json.h"

#include <thread>

namespace Inspect {

BusState readSource(const SourceOptions& source, const Wanted& wanted)
{
    if (source.mFrom.empty()) {
        return takeState(source.mChannel, wanted);
    }
    BusState state;
    readFile(source.mFrom, [&](std::istream& in) { state = readState(in); });
    return state;
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
