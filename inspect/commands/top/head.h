#ifndef INSPECT_COMMANDS_TOP_HEAD_H
#define INSPECT_COMMANDS_TOP_HEAD_H

#include "inspect/commands/top/bus_monitor.h"

#include <chrono>
#include <cstddef>
#include <string>
#include <vector>

namespace Inspect {

/// A piece of text of its own style.
struct Field
{
    std::string mText; ///< printable
    const char* mColor = nullptr;
    bool mHasChanged = false;
};

using FieldLine = std::vector<Field>;

struct HeadOptions
{
    std::string mChannel;
    std::chrono::milliseconds mInterval{};
    std::chrono::milliseconds mPause{}; ///< what it is at least, as looks are expensive
    bool mIsPaused = false;
};

/// What stands above the tables, in `count` lines (at least 2) at most: of a low screen the totals are left out first.
std::vector<FieldLine> headLines(const HeadOptions& options, const BusMonitor& bus, std::size_t width,
                                 std::size_t count);

} // namespace Inspect

#endif
