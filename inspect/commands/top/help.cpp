#include "inspect/commands/top/help.h"

#include "inspect/commands/top/text_fit.h"

namespace Inspect {

namespace {

const std::vector<std::string> cKeyHelp{
    "1 2 3 4 5  processes, interfaces, memory,",
    "           messages, traffic",
    "arrows     move; scroll columns",
    "PgUp PgDn  scroll by a screen",
    "Home End   first line, last line",
    "s > <      sort by the next or previous column",
    "r          reverse the order",
    "/          filter lines by text",
    "Enter      details of the selected line",
    "Esc        close; clear the filter",
    "p space    pause or continue",
    "+ - d      longer, shorter interval; type it",
    "h ?        this help",
    "q          quit",
    "",
    "Changes since the previous look are bold.",
    "+ or - marks the sort column.",
    "\"at least\": the bus's message counter may",
    "have wrapped once more between two looks.",
    "Traffic is sampled while it is shown, from 5 on.",
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
