// Reads its input as a saved state. Whatever reads as one is, written and read again, the same value; whatever does not
// is complained of in one line.

#include "inspect/json/state_json.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <sstream>
#include <string>
#include <string_view>

namespace {

void require(bool condition, const char* what)
{
    if (!condition) {
        std::cerr << "Broken: " << what << std::endl;
        std::abort();
    }
}

std::string written(const Inspect::BusState& state)
{
    std::ostringstream text;
    writeState(text, state);
    return text.str();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    try {
        std::istringstream input(std::string(reinterpret_cast<const char*>(data), size));
        const Inspect::BusState state = Inspect::readState(input);
        const std::string text = written(state);
        std::istringstream again(text);
        const Inspect::BusState copy = Inspect::readState(again);
        require(copy == state, "a state is the same after it has been written and read");
        require(written(copy) == text, "a state is written in one way");
    } catch (const Inspect::NoState& error) {
        require(std::string_view(error.what()).find('\n') == std::string_view::npos, "a complaint is one line");
    }
    return 0;
}
