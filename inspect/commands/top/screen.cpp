#include "inspect/commands/top/screen.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cstdlib>
#include <cwchar>
#include <poll.h>
#include <stdexcept>
#include <string_view>
#include <sys/ioctl.h>
#include <unistd.h>

#define NCURSES_NOMACROS 1
#include <curses.h>
#include <term.h>

namespace Inspect {

namespace {

using std::chrono::steady_clock;

constexpr int cEscapeDelay = 50; ///< in milliseconds: what comes later is no part of the sequence of a key

volatile std::sig_atomic_t isToEnd = 0;
volatile std::sig_atomic_t isContinued = 0;

void onSignal(int signal)
{
    if (signal == SIGCONT) {
        isContinued = 1;
    } else if (signal != SIGWINCH) {
        isToEnd = 1;
    }
}

constexpr std::array cEndingSignals{SIGINT, SIGTERM, SIGHUP};
constexpr std::array cWakingSignals{SIGWINCH, SIGCONT};

void handle(int signal)
{
    struct sigaction action = {};
    sigaction(signal, nullptr, &action);
    if (action.sa_handler != SIG_IGN) {
        action = {};
        action.sa_handler = onSignal;
        sigaction(signal, &action, nullptr);
    }
}

/// What the terminal of the environment lacks, if it does.
void checkTerminal()
{
    const char* const name = std::getenv("TERM");
    const std::string quoted = "the terminal \"" + std::string(name == nullptr ? "" : name) + "\" ";
    constexpr auto cHint = "; use watch or list, or set TERM";
    int found = 0;
    if (setupterm(nullptr, STDOUT_FILENO, &found) == ERR) {
        throw std::runtime_error(quoted + "is unknown" + cHint);
    }
    // NOLINTNEXTLINE(performance-no-int-to-ptr): that is how the library says it.
    const bool canMove = tigetstr("cup") != nullptr && tigetstr("cup") != reinterpret_cast<char*>(-1);
    del_curterm(cur_term);
    if (!canMove) {
        throw std::runtime_error(quoted + "cannot show a full screen" + cHint);
    }
}

constexpr std::array<std::pair<std::string_view, short>, 3> cColors{{
    {"red", COLOR_RED},
    {"yellow", COLOR_YELLOW},
    {"cyan", COLOR_CYAN},
}};

bool prepareColors()
{
    if (!has_colors() || start_color() == ERR) {
        return false;
    }
    use_default_colors();
    for (const auto& [name, color] : cColors) {
        init_pair(static_cast<short>(color + 1), color, -1);
    }
    return true;
}

Key keyOfCharacter(wint_t character)
{
    switch (character) {
    case L'\n':
    case L'\r':
        return {KeyKind::eEnter, {}};
    case L'\x1b':
        return {KeyKind::eEscape, {}};
    case L'\b':
    case L'\x7f':
        return {KeyKind::eBackspace, {}};
    default:
        break;
    }
    std::array<char, MB_LEN_MAX> bytes{};
    std::mbstate_t state{};
    const std::size_t size = std::wcrtomb(bytes.data(), static_cast<wchar_t>(character), &state);
    return size > bytes.size() || character < L' ' ? Key{KeyKind::eOther, {}}
                                                   : Key{KeyKind::eText, std::string(bytes.data(), size)};
}

Key keyOfCode(wint_t code)
{
    constexpr std::array<std::pair<int, KeyKind>, 10> cKinds{{
        {KEY_UP, KeyKind::eUp},
        {KEY_DOWN, KeyKind::eDown},
        {KEY_LEFT, KeyKind::eLeft},
        {KEY_RIGHT, KeyKind::eRight},
        {KEY_PPAGE, KeyKind::ePageUp},
        {KEY_NPAGE, KeyKind::ePageDown},
        {KEY_HOME, KeyKind::eHome},
        {KEY_END, KeyKind::eEnd},
        {KEY_ENTER, KeyKind::eEnter},
        {KEY_BACKSPACE, KeyKind::eBackspace},
    }};
    for (const auto& [known, kind] : cKinds) {
        if (static_cast<wint_t>(known) == code) {
            return {kind, {}};
        }
    }
    return {KeyKind::eOther, {}};
}

} // namespace

Screen::Screen(bool areColorsWanted)
{
    if (isatty(STDIN_FILENO) == 0 || isatty(STDOUT_FILENO) == 0) {
        throw std::runtime_error("top needs a terminal; without one, use watch or list");
    }
    checkTerminal();
    takeSignals();
    if (newterm(nullptr, stdout, stdin) == nullptr) {
        throw std::runtime_error("cannot use the terminal");
    }
    cbreak();
    noecho();
    nonl();
    curs_set(0);
    intrflush(stdscr, FALSE);
    keypad(stdscr, TRUE);
    nodelay(stdscr, TRUE);
    set_escdelay(cEscapeDelay);
    mHasColors = areColorsWanted && prepareColors();
}

Screen::~Screen()
{
    endwin();
    sigprocmask(SIG_SETMASK, &mSignalsBefore, nullptr);
}

/// They come while we wait, and at no other time: then nothing is half done. The library brings its own answer to
/// SIGTSTP, for which the same holds.
void Screen::takeSignals()
{
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : cEndingSignals) {
        handle(signal);
        sigaddset(&signals, signal);
    }
    for (const int signal : cWakingSignals) {
        handle(signal);
        sigaddset(&signals, signal);
    }
    sigaddset(&signals, SIGTSTP);
    sigprocmask(SIG_BLOCK, &signals, &mSignalsBefore);
}

std::size_t Screen::height() const
{
    return static_cast<std::size_t>(getmaxy(stdscr));
}

std::size_t Screen::width() const
{
    return static_cast<std::size_t>(getmaxx(stdscr));
}

void Screen::erase()
{
    werase(stdscr);
}

unsigned long Screen::attributesOf(const Style& style) const
{
    unsigned long attributes = (style.mIsBold ? A_BOLD : A_NORMAL) | (style.mIsReversed ? A_REVERSE : A_NORMAL);
    for (const auto& [name, color] : cColors) {
        if (mHasColors && style.mColor != nullptr && name == style.mColor) {
            attributes |= static_cast<unsigned long>(COLOR_PAIR(color + 1));
        }
    }
    return attributes;
}

void Screen::put(std::size_t line, std::size_t column, const std::string& text, const Style& style)
{
    wattrset(stdscr, static_cast<int>(attributesOf(style)));
    mvwaddnstr(stdscr, static_cast<int>(line), static_cast<int>(column), text.c_str(), static_cast<int>(text.size()));
}

void Screen::show()
{
    wrefresh(stdscr);
}

bool Screen::wait(const std::optional<steady_clock::time_point>& until)
{
    timespec left{};
    if (until) {
        const auto nanoseconds = std::max(*until - steady_clock::now(), steady_clock::duration::zero());
        left.tv_sec = std::chrono::floor<std::chrono::seconds>(nanoseconds).count();
        left.tv_nsec = (nanoseconds % std::chrono::seconds(1)).count();
    }
    pollfd input{.fd = STDIN_FILENO, .events = POLLIN, .revents = 0};
    const int ready = ppoll(&input, 1, until ? &left : nullptr, &mSignalsBefore);
    const bool hasGone = ready > 0 && (input.revents & (POLLHUP | POLLERR | POLLNVAL)) != 0;
    adapt();
    return isToEnd == 0 && !hasGone;
}

/// Takes the terminal again if somebody else had it, and its size as it is now.
void Screen::adapt()
{
    if (isContinued != 0) {
        isContinued = 0;
        reset_prog_mode();
        clearok(curscr, TRUE);
    }
    winsize size{};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_row > 0 && size.ws_col > 0 &&
        is_term_resized(size.ws_row, size.ws_col)) {
        resize_term(size.ws_row, size.ws_col);
        clearok(curscr, TRUE);
    }
}

std::optional<Key> Screen::key()
{
    wint_t character = 0;
    switch (wget_wch(stdscr, &character)) {
    case OK:
        return keyOfCharacter(character);
    case KEY_CODE_YES:
        return keyOfCode(character);
    default:
        return {};
    }
}

} // namespace Inspect
