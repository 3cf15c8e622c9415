// Reads its input as a saved state, and as a contract. Whatever reads as a state is, written and read again, the same
// value, and can be judged, compared and told; whatever does not is complained of in one line.

#include "inspect_outputs.h"

#include "inspect/findings/contract/contract.h"
#include "inspect/saved/no_state.h"
#include "inspect/saved/state_json.h"

#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>
#include <string_view>

namespace {

template <typename Read>
void readAs(std::string_view data, Read read)
{
    try {
        std::istringstream input{std::string(data)};
        read(input);
    } catch (const Inspect::NoState& error) {
        require(std::string_view(error.what()).find('\n') == std::string_view::npos, "a complaint is one line");
    }
}

void readAsState(std::istream& input)
{
    makeOutputs(Inspect::BusState(), Inspect::readState(input));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    readAs(text, readAsState);
    readAs(text, Inspect::readContract);
    return 0;
}
