#include "inspect/source/looks.h"

#include "inspect/source/source.h"

#include <thread>

namespace Inspect {

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
