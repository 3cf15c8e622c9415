#ifndef INSPECT_VIEW_TABLE_H
#define INSPECT_VIEW_TABLE_H

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

struct libscols_line;
struct libscols_table;

namespace Inspect {

enum class ColumnKind : std::uint8_t
{
    eText,   ///< cut where the terminal ends
    eWord,   ///< short, and of use only when it is whole
    eNumber, ///< to the right
    eTree,   ///< its lines hang below each other
    eList    ///< of any length
};

struct Heading
{
    const char* mName;
    ColumnKind mKind = ColumnKind::eText;
};

enum class Text : std::uint8_t
{
    eForeign, ///< bytes of any kind: the table makes them one printable word
    eOwn      ///< printable as it is
};

/// What stands in a cell.
struct Cell
{
    std::string mBytes;
    const char* mColor = nullptr; ///< as libsmartcols names it, such as "red"; null for none
    Text mText = Text::eForeign;
};

/// The cell as a table shows it.
std::string shownText(const Cell& cell);

/// How tables are shown; the command line's choice.
struct TableStyle
{
    bool mHeadings = true;
    bool mColors = false;
    bool mIsWhole = false; ///< nothing is shortened: no list, and no line where the terminal ends
};

/// A table or tree for reading. Lines are cut to the width of the terminal when standard output is one.
class Table
{
public:
    using Line = libscols_line*;

    Table(const std::vector<Heading>& headings, const TableStyle& style);

    /// As many cells as there are headings. An empty one shows as "-", so that each line has as many words as columns.
    Line addLine(const std::vector<Cell>& cells);
    /// In a tree. Cells may lack at the end; those, and empty ones, stay empty.
    Line addBranch(const std::vector<Cell>& cells, Line parent = nullptr);

    /// Ends with a newline, unless there is not one line.
    std::string text() const;

private:
    struct Release
    {
        void operator()(libscols_table* table) const;
    };

    void fill(Line line, std::size_t column, const Cell& cell, const std::string& text);

    std::unique_ptr<libscols_table, Release> mTable;
};

} // namespace Inspect

#endif
