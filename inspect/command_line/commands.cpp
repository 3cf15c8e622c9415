#include "inspect/command_line/command.h"
#include "inspect/list/list.h"
#include "inspect/page/page.h"
#include "inspect/save/save.h"
#include "inspect/show/show.h"
#include "inspect/wait/wait.h"

#include <array>

namespace Inspect {

namespace {

constexpr std::array cCommands{&cListCommand, &cShowCommand, &cWaitCommand, &cSaveCommand, &cPageCommand};

} // namespace

std::span<const Command* const> commands()
{
    return cCommands;
}

} // namespace Inspect
