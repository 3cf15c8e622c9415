#ifndef INSPECT_VIEW_CELLS_H
#define INSPECT_VIEW_CELLS_H

#include "inspect/bus/words.h"
#include "inspect/view/table.h"

#include <concepts>

// Cells of lists and trees.

namespace Inspect {

/// Stands out: it is broken, or will not answer.
inline constexpr auto cBadColor = "red";
/// Stands out: it is not as it should be for long.
inline constexpr auto cUneasyColor = "yellow";

/// Of a list that is shown in a cell.
enum class ListLength : std::uint8_t
{
    eShort, ///< the first items, and how many more there are: "1,2,3,4,5,6,7,8,+16more"
    eWhole
};

/// The number as std::printf shows it by that format, in less than 32 characters.
std::string formatted(const char* format, double number);

/// Adds a number to those that stand there already, with a comma between them.
void appendListed(std::string& text, std::uint64_t number);

Cell numberCell(std::uint64_t number);
Cell stateCell(std::uint32_t state);
Cell livingCell(Living living);
Cell idsCell(const std::vector<std::uint16_t>& ids, ListLength length);
Cell freeBlocksCell(const Channel::MemoryManagerFigures& figures);
Cell usedShareCell(const Channel::MemoryManagerFigures& figures);
/// What ends the chain before its time, and at which slot.
Cell chainFaultCell(const Channel::DataChain& chain);

// Empty where nobody is known.
Cell applicationCell(const Communicator* owner);
Cell processIdCell(const Communicator* owner);
Cell livingCell(const Communicator* owner);

// The cell of a member of a record, by its type; `words` as its Field has them, `length` of a member that is a list.

Cell cellOf(const std::string& name, Words words, ListLength length);
Cell cellOf(const std::optional<std::string>& name, Words words, ListLength length);
Cell cellOf(const Oxa::Version& version, Words words, ListLength length);
/// In seconds.
Cell cellOf(const std::optional<std::chrono::milliseconds>& time, Words words, ListLength length);
Cell cellOf(Living living, Words words, ListLength length);
Cell cellOf(Channel::SlotState state, Words words, ListLength length);
Cell cellOf(const IdSet& ids, Words words, ListLength length);
Cell cellOf(const Channel::DataChain& chain, Words words, ListLength length);
Cell cellOf(const std::optional<OxaZunic::OxaZunicRangeLocation>& location, Words words, ListLength length);

template <std::unsigned_integral Number>
Cell cellOf(Number number, Words words, ListLength /*none*/)
{
    if (words.data() == cStateWords.data()) {
        return stateCell(static_cast<std::uint32_t>(number));
    }
    return words.empty() ? numberCell(number) : Cell{wordFor(words, static_cast<std::uint32_t>(number))};
}

/// How a column of such members is shown.
template <typename Value>
ColumnKind columnKindOf(const Value& /*any*/, Words words)
{
    if (!words.empty() || std::is_same_v<Value, Oxa::Version>) {
        return ColumnKind::eWord;
    }
    if (std::is_same_v<Value, IdSet> || std::is_same_v<Value, Channel::DataChain>) {
        return ColumnKind::eList;
    }
    constexpr bool cIsTime = std::is_same_v<Value, std::optional<std::chrono::milliseconds>>;
    return std::unsigned_integral<Value> || cIsTime ? ColumnKind::eNumber : ColumnKind::eText;
}

} // namespace Inspect

#endif
