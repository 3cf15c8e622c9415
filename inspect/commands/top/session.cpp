#include "inspect/commands/top/session.h"

#include "inspect/cli/command.h"
#include "inspect/cli/durations.h"
#include "inspect/cli/printable.h"
#include "inspect/commands/top/details.h"
#include "inspect/commands/top/head.h"
#include "inspect/commands/top/help.h"

#include <algorithm>
#include <utility>

namespace Inspect {

namespace {

using std::chrono::milliseconds;

constexpr std::size_t cLeastWidth = 40;
constexpr std::size_t cLeastHeight = 10;

/// So many times what a look cost goes by before the next one: looks take 0.7 % of a core at most.
constexpr int cLookPause = 143;

constexpr std::array cIntervals{milliseconds(100),    milliseconds(200),    milliseconds(500),
                                milliseconds(1'000),  milliseconds(2'000),  milliseconds(5'000),
                                milliseconds(10'000), milliseconds(30'000), milliseconds(60'000)};

/// One of the tables, and what a look has to see for it.
struct Page
{
    const ListKind* mKind; ///< null for traffic
    Wanted mWanted;
    Wanted mWantedForDetails;
};

constexpr Wanted cAlwaysWanted{.mProcesses = true, .mSlotTotals = true};

/// By the keys 1 to 5.
constexpr std::array<Page, 5> cPages{{
    {&cProcessList, {}, {}},
    {&cInterfaceList, {}, {.mFunctions = true}},
    {&cMemoryList, {.mMemoryManagers = true}, {}},
    {&cMessageList, {.mMessages = true}, {}},
    {nullptr, {}, {}},
}};

/// Takes the last character away.
void shorten(std::string& text)
{
    constexpr auto isContinuation = [](char byte) { return (static_cast<unsigned char>(byte) & 0xC0) == 0x80; };
    while (!text.empty() && isContinuation(text.back())) {
        text.pop_back();
    }
    if (!text.empty()) {
        text.pop_back();
    }
}

} // namespace

Session::Session(const TopOptions& options)
    : mChannel(options.mChannel),
      mInterval(options.mInterval),
      mScreen(options.mHasColors),
      mBus(options.mChannel),
      mTraffic(options.mChannel),
      mViews{TableView(*cPages[0].mKind), TableView(*cPages[1].mKind), TableView(*cPages[2].mKind),
             TableView(*cPages[3].mKind), TableView(mTraffic.kind())}
{}

void Session::run()
{
    look();
    do {
        while (const auto key = mScreen.key()) {
            press(*key);
        }
        if (mIsLookDue || (!mIsPaused && SteadyTime::clock::now() >= nextLook())) {
            look();
        }
        paint();
    } while (!mIsToQuit && waitForKeyOrLook());
}

/// Takes the samples that are due meanwhile. False when the program is to end.
bool Session::waitForKeyOrLook()
{
    while (!mIsPaused && mTraffic.next() && *mTraffic.next() < nextLook()) {
        const SteadyTime next = *mTraffic.next();
        if (!mScreen.wait(next)) {
            return false;
        }
        if (SteadyTime::clock::now() < next) {
            return true;
        }
        mTraffic.sample();
    }
    return mScreen.wait(mIsPaused ? std::nullopt : std::optional(nextLook()));
}

/// In steps: it is shown, and shall not be another one at each look.
milliseconds Session::pause() const
{
    using Steps = std::chrono::duration<milliseconds::rep, std::ratio<1, 10>>;
    return std::chrono::ceil<Steps>(cLookPause * std::min(mCost, mCostBefore));
}

SteadyTime Session::nextLook() const
{
    return mLookedAt + std::max(mInterval, pause());
}

void Session::look()
{
    mIsLookDue = false;
    mLookedAt = SteadyTime::clock::now();
    const auto spentBefore = processorTime();
    const Page& page = cPages[mPage];
    const Wanted ofPage = mSheet == Sheet::eDetails ? page.mWanted | page.mWantedForDetails : page.mWanted;
    mBus.look(cAlwaysWanted | ofPage);
    if (mBus.now() == nullptr) {
        view().clear();
        mLookedAt = SteadyTime::clock::now(); // It may have waited for the mutex: there shall be time for keys.
    } else if (isTrafficShown()) {
        mTraffic.look();
        view().show(*mBus.now(), nullptr); // Figures change with each look.
    } else {
        view().show(*mBus.now(), mBus.before());
    }
    if (!mBus.hasChecked()) { // Checks have a pace of their own.
        mCostBefore = mCost;
        mCost = processorTime() - spentBefore;
    }
}

void Session::press(const Key& key)
{
    mMessage.clear();
    if (mEntry) {
        type(key);
    } else if (key.mKind == KeyKind::eText) {
        command(key.mText.size() == 1 ? key.mText.front() : '\0');
    } else if (key.mKind == KeyKind::eEscape) {
        close();
    } else {
        navigate(key.mKind);
    }
}

void Session::command(char key)
{
    switch (key) {
    case '1':
    case '2':
    case '3':
    case '4':
    case '5':
        return turnTo(static_cast<std::size_t>(key - '1'));
    case 's':
    case '>':
        return sortByNext(1);
    case '<':
        return sortByNext(view().columns().size() - 1);
    case 'r':
        return view().reverse();
    case '/':
        return editFilter();
    case 'p':
    case ' ':
        return pauseOrContinue();
    case '+':
        return changeInterval(std::ranges::upper_bound(cIntervals, mInterval));
    case '-':
        return changeInterval(std::ranges::lower_bound(cIntervals, mInterval) - 1);
    case 'd':
        mEntry = {"interval: ", false, {}};
        return;
    case 'h':
    case '?':
        return mSheet == Sheet::eHelp ? close() : open(Sheet::eHelp);
    case 'q':
        mIsToQuit = true;
        return;
    default:
        return;
    }
}

void Session::pauseOrContinue()
{
    mIsPaused = !mIsPaused;
    if (!mIsPaused && isTrafficShown()) { // How long messages stayed meanwhile is unknown: it begins again.
        view().clear();
        mTraffic.stop();
        mIsLookDue = true;
    }
}

void Session::editFilter()
{
    mSheet = Sheet::eTable;
    mEntry = {"filter: ", true, view().filter()};
}

void Session::type(const Key& key)
{
    if (key.mKind == KeyKind::eText) {
        mEntry->mText += key.mText;
    } else if (key.mKind == KeyKind::eBackspace) {
        shorten(mEntry->mText);
    } else if (key.mKind == KeyKind::eEscape) {
        mEntry->mText.clear();
    }
    if (mEntry->mIsFilter) {
        view().filterBy(mEntry->mText);
    }
    if (key.mKind == KeyKind::eEnter && !mEntry->mIsFilter) {
        takeInterval(mEntry->mText);
    }
    if (key.mKind == KeyKind::eEnter || key.mKind == KeyKind::eEscape) {
        mEntry.reset();
    }
}

void Session::takeInterval(const std::string& text)
{
    try {
        mInterval = readInterval("interval", text, cShortestInterval);
    } catch (const UsageMistake& mistake) {
        mMessage = mistake.what();
    }
}

void Session::changeInterval(const milliseconds* interval)
{
    if (interval >= cIntervals.begin() && interval < cIntervals.end()) {
        mInterval = *interval;
    }
}

void Session::turnTo(std::size_t page)
{
    view().clear(); // The states that it shows are not kept for it.
    mTraffic.stop();
    mPage = page;
    painter().forgetWidths();
    mSheet = Sheet::eTable;
    mIsLookDue = true; // What was seen before may lack what is to be shown now.
}

void Session::sortByNext(std::size_t columns)
{
    view().sortBy((view().sortColumn() + columns) % view().columns().size());
}

void Session::open(Sheet sheet)
{
    mSheet = sheet;
    mScrolled = 0;
    mIsLookDue = mIsLookDue || sheet == Sheet::eDetails;
    mOpened = view().chosen();
}

void Session::openChosen()
{
    if (mSheet == Sheet::eTable && view().chosen()) {
        open(Sheet::eDetails);
    }
}

void Session::close()
{
    if (mSheet == Sheet::eTable) {
        view().filterBy("");
    }
    mSheet = Sheet::eTable;
}

void Session::navigate(KeyKind kind)
{
    if (mIsLookDue) {
        look(); // The table may have been turned to just now: there are no lines yet.
    }
    const auto page = static_cast<std::ptrdiff_t>(mScreen.height() / 2);
    constexpr std::ptrdiff_t cFar = 1 << 30;
    switch (kind) {
    case KeyKind::eEnter:
        return openChosen();
    case KeyKind::eUp:
        return moveBy(-1);
    case KeyKind::eDown:
        return moveBy(1);
    case KeyKind::ePageUp:
        return moveBy(-page);
    case KeyKind::ePageDown:
        return moveBy(page);
    case KeyKind::eHome:
        return moveBy(-cFar);
    case KeyKind::eEnd:
        return moveBy(cFar);
    case KeyKind::eLeft:
        return painter().scroll(-1);
    case KeyKind::eRight:
        return painter().scroll(1);
    default:
        return;
    }
}

void Session::moveBy(std::ptrdiff_t lines)
{
    if (mSheet == Sheet::eTable) {
        view().move(lines);
    } else {
        const auto scrolled = static_cast<std::ptrdiff_t>(mScrolled) + lines;
        mScrolled = static_cast<std::size_t>(std::max<std::ptrdiff_t>(0, scrolled));
    }
}

void Session::paint()
{
    mScreen.erase();
    if (mScreen.width() < cLeastWidth || mScreen.height() < cLeastHeight) {
        paintText(mScreen, 0, "needs at least 40 x 10");
    } else {
        const std::size_t first = paintHead();
        paintSheet({first, mScreen.height() - 1 - first});
        paintText(mScreen, mScreen.height() - 1, lastLine(), {nullptr, false, true});
    }
    mScreen.show();
}

/// The first line below it.
std::size_t Session::paintHead()
{
    const HeadOptions options{mChannel, mInterval, pause(), mIsPaused};
    const auto lines = headLines(options, mBus, mScreen.width(), mScreen.height() / 2 - 1);
    for (std::size_t line = 0; line < lines.size(); ++line) {
        paintFields(mScreen, line, lines[line]);
    }
    return lines.size();
}

void Session::paintSheet(const Area& area)
{
    if (mSheet == Sheet::eHelp) {
        paintLines(mScreen, area, helpLines(view()), mScrolled);
    } else if (mSheet == Sheet::eDetails) {
        paintLines(mScreen, area, openedLines(), mScrolled);
    } else if (mBus.now() != nullptr) {
        painter().paint(mScreen, area, view());
    }
}

std::vector<std::string> Session::openedLines()
{
    if (mBus.now() == nullptr || !view().chosen() || mOpened != view().chosen()) {
        return {"No longer present."};
    }
    return detailLines(view(), *mBus.now(), mScreen.width());
}

std::string Session::lastLine()
{
    if (mEntry) {
        return mEntry->mPrompt + printable(mEntry->mText, Blanks::eKept) + "_";
    }
    if (!mMessage.empty()) {
        return printable(mMessage, Blanks::eKept);
    }
    const std::size_t position = view().size() == 0 ? 0 : view().position() + 1;
    std::string text =
        std::string(view().kind().mWord) + " " + std::to_string(position) + "/" + std::to_string(view().size());
    if (!view().filter().empty()) {
        text += " matching \"" + printable(view().filter(), Blanks::eKept) + "\"";
    }
    return text +
           (mSheet == Sheet::eTable ? "  h help  1-5 tables  / filter  Enter details  q quit" : "  Esc close  q quit");
}

} // namespace Inspect
