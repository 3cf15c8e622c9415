#ifndef INSPECT_COMMANDS_TOP_PAINTING_H
#define INSPECT_COMMANDS_TOP_PAINTING_H

#include "inspect/commands/top/head.h"
#include "inspect/commands/top/screen.h"
#include "inspect/commands/top/table_view.h"

#include <cstddef>
#include <string>
#include <vector>

namespace Inspect {

/// What is drawn below the head: lines [mFirst, mFirst + mCount) of the screen.
struct Area
{
    std::size_t mFirst;
    std::size_t mCount;
};

/// A line that begins there, cut where the screen ends.
void paintFields(Screen& screen, std::size_t line, const FieldLine& fields);
void paintText(Screen& screen, std::size_t line, const std::string& text, const Style& style = {});

/// Lines of text from the line `scrolled` on, which is brought back into what there is.
void paintLines(Screen& screen, const Area& area, const std::vector<std::string>& lines, std::size_t& scrolled);

/// Draws a table, and remembers what part of it that is. Columns grow when they have to, and do not shrink: they would
/// jump from look to look.
class TablePainter
{
public:
    void paint(Screen& screen, const Area& area, const TableView& view);

    /// Brings the columns on the right, or the left, into sight. The first one stays.
    void scroll(std::ptrdiff_t columns);
    /// Begins with narrow columns again.
    void forgetWidths() { mWidths.clear(); }

private:
    void grow(const TableView& view, const std::vector<TableView::Line>& lines);
    std::vector<std::size_t> widthsFor(const TableView& view, std::size_t width) const;
    void paintHeadings(Screen& screen, std::size_t line, const TableView& view, const std::vector<std::size_t>& widths);

    std::vector<std::size_t> mWidths; ///< that the columns need
    std::size_t mTop = 0;             ///< first line of the table that is in sight
    std::size_t mSkipped = 0;         ///< columns behind the first one that are not
};

} // namespace Inspect

#endif
