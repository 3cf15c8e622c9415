#include "inspect/commands/top/painting.h"

#include "inspect/commands/top/text_fit.h"

#include <algorithm>

namespace Inspect {

namespace {

constexpr std::size_t cGap = 1;
constexpr std::size_t cNarrowest = 8; ///< that a text is made for lack of room
constexpr auto cChangedColor = "cyan";

Style styleOf(const char* color, bool hasChanged)
{
    return {color == nullptr && hasChanged ? cChangedColor : color, hasChanged, false};
}

/// The name of a column, with the sign of its order in front when the lines are sorted by it.
std::string headingOf(const TableView& view, std::size_t column)
{
    const char* const sign = column != view.sortColumn() ? "" : view.isReversed() ? "-" : "+";
    return std::string(sign) + view.columns()[column].mName;
}

/// Makes the widest text narrower until all fits, or all texts are narrow.
void narrow(std::vector<std::size_t>& widths, const std::vector<Column>& columns, std::size_t room)
{
    std::size_t needed = cGap * (widths.size() - 1);
    for (const std::size_t width : widths) {
        needed += width;
    }
    while (needed > room) {
        std::size_t* widest = nullptr;
        for (std::size_t column = 0; column < widths.size(); ++column) {
            const ColumnKind kind = columns[column].mKind;
            const bool isText = kind == ColumnKind::eText || kind == ColumnKind::eList;
            if (isText && widths[column] > cNarrowest && (widest == nullptr || widths[column] > *widest)) {
                widest = &widths[column];
            }
        }
        if (widest == nullptr) {
            return;
        }
        --*widest;
        --needed;
    }
}

} // namespace

void paintFields(Screen& screen, std::size_t line, const FieldLine& fields)
{
    std::size_t column = 0;
    for (const Field& field : fields) {
        if (column >= screen.width()) {
            return;
        }
        const std::string text(beginningOf(field.mText, screen.width() - column));
        screen.put(line, column, text, styleOf(field.mColor, field.mHasChanged));
        column += shownWidth(text) + 2;
    }
}

void paintText(Screen& screen, std::size_t line, const std::string& text, const Style& style)
{
    screen.put(line, 0, fitted(text, screen.width()), style);
}

void paintLines(Screen& screen, const Area& area, const std::vector<std::string>& lines, std::size_t& scrolled)
{
    scrolled = std::min(scrolled, lines.size() - std::min(lines.size(), area.mCount));
    for (std::size_t i = 0; i < area.mCount && scrolled + i < lines.size(); ++i) {
        paintText(screen, area.mFirst + i, lines[scrolled + i]);
    }
}

void TablePainter::scroll(std::ptrdiff_t columns)
{
    mSkipped = static_cast<std::size_t>(std::max<std::ptrdiff_t>(0, static_cast<std::ptrdiff_t>(mSkipped) + columns));
}

void TablePainter::grow(const TableView& view, const std::vector<TableView::Line>& lines)
{
    mWidths.resize(view.columns().size());
    for (std::size_t column = 0; column < mWidths.size(); ++column) {
        std::size_t& width = mWidths[column];
        width = std::max(width, headingOf(view, column).size());
        for (const TableView::Line& line : lines) {
            width = std::max(width, shownWidth(line.mCells[column].mText));
        }
    }
}

/// Of each column; 0 when it is out of sight.
std::vector<std::size_t> TablePainter::widthsFor(const TableView& view, std::size_t width) const
{
    std::vector<std::size_t> widths = mWidths;
    narrow(widths, view.columns(), width);
    for (std::size_t column = 1; column < widths.size(); ++column) {
        widths[column] = column <= mSkipped ? 0 : widths[column];
    }
    std::size_t left = width;
    for (std::size_t& column : widths) {
        column = std::min(column, left);
        left -= std::min(left, column == 0 ? 0 : column + cGap);
    }
    return widths;
}

void TablePainter::paintHeadings(Screen& screen, std::size_t line, const TableView& view,
                                 const std::vector<std::size_t>& widths)
{
    std::string text;
    for (std::size_t column = 0; column < widths.size(); ++column) {
        if (widths[column] > 0) {
            const bool isNumber = view.columns()[column].mKind == ColumnKind::eNumber;
            text += fitted(headingOf(view, column), widths[column], isNumber) + std::string(cGap, ' ');
        }
    }
    paintText(screen, line, text, {.mColor = nullptr, .mIsBold = true, .mIsReversed = false});
}

void TablePainter::paint(Screen& screen, const Area& area, const TableView& view)
{
    const std::size_t count = area.mCount - 1; // The headings take one.
    mSkipped = std::min(mSkipped, view.columns().size() - 2);
    mTop = std::min(mTop, view.size() - std::min(view.size(), count));
    mTop = std::clamp(mTop, view.position() - std::min(view.position(), count - 1), view.position());
    const auto lines = view.lines(mTop, count);
    grow(view, lines);
    const auto widths = widthsFor(view, screen.width());
    paintHeadings(screen, area.mFirst, view, widths);
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const TableView::Line& line = lines[i];
        const std::size_t place = area.mFirst + 1 + i;
        if (line.mIsChosen) {
            paintText(screen, place, "", {.mColor = nullptr, .mIsBold = false, .mIsReversed = true});
        }
        std::size_t x = 0;
        for (std::size_t column = 0; column < widths.size(); ++column) {
            if (widths[column] > 0) {
                const TableView::ShownCell& cell = line.mCells[column];
                Style style = styleOf(cell.mColor, cell.mHasChanged);
                style.mIsReversed = line.mIsChosen;
                const bool isNumber = view.columns()[column].mKind == ColumnKind::eNumber;
                screen.put(place, x, fitted(cell.mText, widths[column], isNumber), style);
                x += widths[column] + cGap;
            }
        }
    }
}

} // namespace Inspect
