#include "inspect/saved/read_file.h"

#include "inspect/saved/state_json.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>

namespace Inspect {

void readFile(const std::string& file, const std::function<void(std::istream&)>& read)
{
    const bool isStandardInput = file == "-";
    try {
        std::ifstream in;
        if (!isStandardInput) {
            in.open(file, std::ios::binary);
            if (!in.is_open()) {
                throw NoState(std::strerror(errno));
            }
        }
        read(isStandardInput ? std::cin : in);
    } catch (const NoState& error) {
        throw NoState((isStandardInput ? "standard input" : file) + ": " + error.what());
    }
}

} // namespace Inspect
