#ifndef INSPECT_COMMANDS_TOP_SCREEN_H
#define INSPECT_COMMANDS_TOP_SCREEN_H

#include <chrono>
#include <csignal>
#include <cstdint>
#include <optional>
#include <string>

namespace Inspect {

enum class KeyKind : std::uint8_t
{
    eText,
    eEnter,
    eEscape,
    eBackspace,
    eUp,
    eDown,
    eLeft,
    eRight,
    ePageUp,
    ePageDown,
    eHome,
    eEnd,
    eOther
};

struct Key
{
    KeyKind mKind;
    std::string mText; ///< of eText: one character
};

struct Style
{
    const char* mColor = nullptr; ///< as libsmartcols names it; null for none
    bool mIsBold = false;
    bool mIsReversed = false;
};

/// Takes over the terminal as one full screen, from construction to destruction, which restores it. Only what has
/// changed is sent. It can be stopped and continued. There can be one only.
class Screen
{
public:
    /// Throws std::runtime_error when standard input and output are no terminal that can do this.
    explicit Screen(bool areColorsWanted);
    ~Screen();

    Screen(const Screen&) = delete;
    Screen& operator=(const Screen&) = delete;

    std::size_t height() const;
    std::size_t width() const;

    void erase();
    /// Text is printable, and has to fit. Lines and columns count from 0.
    void put(std::size_t line, std::size_t column, const std::string& text, const Style& style = {});
    void show();

    /// Waits for a key, another size or that time; none: for ever. False when the program is to end: by a signal, or as
    /// the terminal has gone.
    bool wait(const std::optional<std::chrono::steady_clock::time_point>& until);
    /// The next key that was typed, if there is one.
    std::optional<Key> key();

private:
    void takeSignals();
    void adapt();
    unsigned long attributesOf(const Style& style) const;

    sigset_t mSignalsBefore{};
    bool mHasColors = false;
};

} // namespace Inspect

#endif
