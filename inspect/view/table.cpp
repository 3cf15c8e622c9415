#include "inspect/view/table.h"

#include "inspect/cli/printable.h"

#include <algorithm>
#include <cstdlib>
#include <cwchar>
#include <libsmartcols.h>
#include <new>

namespace Inspect {

namespace {

constexpr auto cNothing = "-";

/// The library reports only a lack of memory.
template <typename Pointer>
Pointer* checked(Pointer* made)
{
    if (made == nullptr) {
        throw std::bad_alloc();
    }
    return made;
}

void check(int result)
{
    if (result != 0) {
        throw std::bad_alloc();
    }
}

int flagsOf(ColumnKind kind)
{
    switch (kind) {
    case ColumnKind::eWord:
        return 0;
    case ColumnKind::eNumber:
        return SCOLS_FL_RIGHT;
    case ColumnKind::eTree:
        return SCOLS_FL_TREE | SCOLS_FL_TRUNC;
    case ColumnKind::eText:
    case ColumnKind::eList:
        break;
    }
    return SCOLS_FL_TRUNC | SCOLS_FL_WRAP; // Wrapped by the functions below: that is, never.
}

/// In columns of the terminal. The library would look up each character, which is most of the time of a long list.
std::size_t widthOf(const libscols_column*, const char* text, void*)
{
    const std::string_view bytes = text;
    if (std::ranges::all_of(bytes, [](char byte) { return static_cast<unsigned char>(byte) < 0x80; })) {
        return bytes.size();
    }
    std::size_t width = 0;
    std::mbstate_t state{};
    wchar_t character = 0;
    for (const char* place = text; *place != '\0';) {
        const std::size_t size = std::mbrtowc(&character, place, MB_CUR_MAX, &state);
        width += static_cast<std::size_t>(wcwidth(character)); // Printable: it has a size and a width.
        place += size;
    }
    return width;
}

/// There is none: a text is one line.
char* nextPart(const libscols_column*, char*, void*)
{
    return nullptr;
}

} // namespace

std::string shownText(const Cell& cell)
{
    if (cell.mBytes.empty()) {
        return cNothing;
    }
    if (cell.mText == Text::eOwn) {
        return cell.mBytes;
    }
    return cell.mBytes == cNothing ? "\\x2d" : printable(cell.mBytes); // Told from an empty one.
}

void Table::Release::operator()(libscols_table* table) const
{
    scols_unref_table(table);
}

Table::Table(const std::vector<Heading>& headings, const TableStyle& style) : mTable(checked(scols_new_table()))
{
    // Cells are printable when they get there.
    check(scols_table_enable_noencoding(mTable.get(), 1));
    check(scols_table_enable_nowrap(mTable.get(), 1));
    check(scols_table_enable_noheadings(mTable.get(), style.mHeadings ? 0 : 1));
    check(scols_table_enable_colors(mTable.get(), style.mColors ? 1 : 0));
    check(scols_table_enable_minout(mTable.get(), 1)); // No blanks where a line ends.
    if (style.mIsWhole) {
        check(scols_table_set_termforce(mTable.get(), SCOLS_TERMFORCE_NEVER));
    }
    for (const Heading& heading : headings) {
        libscols_column* const column =
            checked(scols_table_new_column(mTable.get(), heading.mName, 0, flagsOf(heading.mKind)));
        check(scols_column_set_wrapfunc(column, widthOf, nextPart, nullptr));
    }
}

Table::Line Table::addLine(const std::vector<Cell>& cells)
{
    const Line line = checked(scols_table_new_line(mTable.get(), nullptr));
    for (std::size_t column = 0; column < cells.size(); ++column) {
        fill(line, column, cells[column], shownText(cells[column]));
    }
    return line;
}

Table::Line Table::addBranch(const std::vector<Cell>& cells, Line parent)
{
    const Line line = checked(scols_table_new_line(mTable.get(), parent));
    for (std::size_t column = 0; column < cells.size(); ++column) {
        fill(line, column, cells[column], cells[column].mBytes.empty() ? "" : shownText(cells[column]));
    }
    return line;
}

void Table::fill(Line line, std::size_t column, const Cell& cell, const std::string& text)
{
    check(scols_line_set_data(line, column, text.c_str()));
    if (cell.mColor != nullptr) {
        check(scols_cell_set_color(checked(scols_line_get_cell(line, column)), cell.mColor));
    }
}

std::string Table::text() const
{
    char* printed = nullptr;
    check(scols_print_table_to_string(mTable.get(), &printed));
    const std::unique_ptr<char, decltype(&std::free)> owned(printed, std::free);
    std::string text = printed == nullptr ? "" : printed;
    if (!text.empty() && !text.ends_with('\n')) {
        text += '\n';
    }
    return text;
}

} // namespace Inspect
