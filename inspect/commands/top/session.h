#ifndef INSPECT_COMMANDS_TOP_SESSION_H
#define INSPECT_COMMANDS_TOP_SESSION_H

#include "inspect/commands/top/bus_monitor.h"
#include "inspect/commands/top/painting.h"
#include "inspect/commands/top/screen.h"
#include "inspect/commands/top/table_view.h"
#include "inspect/commands/top/traffic_table.h"

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Inspect {

struct TopOptions
{
    std::string mChannel = "OXABus";
    std::chrono::milliseconds mInterval = std::chrono::seconds(1);
    bool mHasColors = false;
};

constexpr std::chrono::milliseconds cShortestInterval{100};

/// Follows a channel on the whole terminal: what the keys do, and what is on the screen.
class Session
{
public:
    /// Throws std::runtime_error when the terminal cannot show a full screen.
    explicit Session(const TopOptions& options);

    /// Until the user, or a signal, ends it.
    void run();

private:
    enum class Sheet : std::uint8_t
    {
        eTable,
        eDetails,
        eHelp
    };

    /// What is being typed into the last line.
    struct Entry
    {
        const char* mPrompt;
        bool mIsFilter;
        std::string mText;
    };

    TableView& view() { return mViews[mPage]; }
    TablePainter& painter() { return mPainters[mPage]; }

    std::chrono::milliseconds pause() const;
    SteadyTime nextLook() const;
    void look();
    bool isTrafficShown() const { return &mViews[mPage].kind() == &mTraffic.kind(); }
    bool waitForKeyOrLook();

    void press(const Key& key);
    void command(char key);
    void pauseOrContinue();
    void editFilter();
    void type(const Key& key);
    void takeInterval(const std::string& text);
    void changeInterval(const std::chrono::milliseconds* interval);
    void turnTo(std::size_t page);
    void sortByNext(std::size_t columns);
    void open(Sheet sheet);
    void openChosen();
    void close();
    void navigate(KeyKind kind);
    void moveBy(std::ptrdiff_t lines);

    void paint();
    std::size_t paintHead();
    void paintSheet(const Area& area);
    std::vector<std::string> openedLines();
    std::string lastLine();

    std::string mChannel;
    std::chrono::milliseconds mInterval;
    Screen mScreen;
    BusMonitor mBus;
    TrafficTable mTraffic;
    std::array<TableView, 5> mViews;
    std::array<TablePainter, 5> mPainters;
    std::size_t mPage = 0; ///< which of them is shown
    Sheet mSheet = Sheet::eTable;
    std::size_t mScrolled = 0;
    std::optional<std::uint32_t> mOpened; ///< of the chosen line, when its details were opened
    std::optional<Entry> mEntry;
    std::string mMessage;
    bool mIsPaused = false;
    bool mIsToQuit = false;
    bool mIsLookDue = false;
    SteadyTime mLookedAt;
    std::chrono::nanoseconds mCost{};       ///< of the last look
    std::chrono::nanoseconds mCostBefore{}; ///< of the one before: one look may be expensive by chance
};

} // namespace Inspect

#endif
