#include "support/inspect.h"

namespace TestSupport {

std::vector<std::string> inspectWords(std::vector<std::string> arguments)
{
    arguments.insert(arguments.begin(), INSPECT_BINARY);
    return arguments;
}

ProgramResult inspect(std::vector<std::string> arguments)
{
    return runProgram(inspectWords(std::move(arguments)), {.environment = {{"LC_ALL", "C.UTF-8"}}});
}

} // namespace TestSupport
