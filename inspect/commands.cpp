#include "inspect/commands.h"

#include "inspect/commands/check.h"
#include "inspect/commands/diff.h"
#include "inspect/commands/list/list.h"
#include "inspect/commands/metrics/metrics.h"
#include "inspect/commands/page/page.h"
#include "inspect/commands/save.h"
#include "inspect/commands/show.h"
#include "inspect/commands/top/top.h"
#include "inspect/commands/traffic/traffic.h"
#include "inspect/commands/wait.h"
#include "inspect/commands/watch.h"

#include <array>

namespace Inspect {

namespace {

constexpr std::array cCommands{&cListCommand,    &cShowCommand,  &cWaitCommand,  &cTopCommand,
                               &cTrafficCommand, &cWatchCommand, &cCheckCommand, &cDiffCommand,
                               &cMetricsCommand, &cSaveCommand,  &cPageCommand};

} // namespace

std::span<const Command* const> commands()
{
    return cCommands;
}

} // namespace Inspect
