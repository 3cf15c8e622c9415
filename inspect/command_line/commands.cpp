#include "inspect/check/check.h"
#include "inspect/command_line/command.h"
#include "inspect/diff/diff.h"
#include "inspect/list/list.h"
#include "inspect/metrics/metrics.h"
#include "inspect/page/page.h"
#include "inspect/save/save.h"
#include "inspect/show/show.h"
#include "inspect/top/top.h"
#include "inspect/wait/wait.h"
#include "inspect/watch/watch.h"

#include <array>

namespace Inspect {

namespace {

constexpr std::array cCommands{&cListCommand,  &cShowCommand, &cWaitCommand,    &cTopCommand,  &cWatchCommand,
                               &cCheckCommand, &cDiffCommand, &cMetricsCommand, &cSaveCommand, &cPageCommand};

} // namespace

std::span<const Command* const> commands()
{
    return cCommands;
}

} // namespace Inspect
