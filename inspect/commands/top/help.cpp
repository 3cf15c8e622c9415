#include "inspect/commands/top/help.h"

#include "inspect/commands/top/text_fit.h"

namespace Inspect {

namespace {

const std::vector<std::string> cKeyHelp{
    "1 2 3 4    processes, interfaces, memory, messages",
    "arrows     another line; other columns",
    "PgUp PgDn  a screen up or down",
    "Home End   first line, last line",
    "s > <      sort by the next column, the one before",
    "r          reverse the order",
    "/          only lines with this text",
    "Enter      all about the chosen line",
    "Esc        close that; show all lines",
    "p space    pause, and go on",
    "+ - d      look less often, more often; type it",
    "h ?        this help",
    "q          quit",
    "",
    "What changed since the look before is bold.",
    "The column with + or - sorts the lines.",
    "\"at least\": the bus's counter of messages may",
    "have wrapped once more between two looks.",
};

} // namespace

std::vector<std::string> helpLines(const TableView& view)
{
    std::vector<std::string> lines = cKeyHelp;
    lines.insert(lines.end(), {"", std::string("Columns of ") + view.kind().mWord + ":"});
    for (const Column& column : view.columns()) {
        lines.push_back(fitted(column.mName, 14) + column.mMeaning);
    }
    return lines;
}

} // namespace Inspect
