#include "inspect/command_line/command.h"

namespace Inspect {

namespace {

constexpr std::array<const Command*, 0> cCommands{};

} // namespace

std::span<const Command* const> commands()
{
    return cCommands;
}

} // namespace Inspect
