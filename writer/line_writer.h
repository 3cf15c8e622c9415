#ifndef WRITER_LINE_WRITER_H
#define WRITER_LINE_WRITER_H

#include <charconv>
#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>

namespace Oxa {

/// Ends a line and flushes the stream, as std::endl does.
struct EndLine
{};
constexpr EndLine endLine;

/// Puts text together for a stream and hands it over line by line: where lines are short and many, formatting them in
/// the stream itself costs more than writing them to the file.
/// The stream has all of the text at every `endLine`, and when the LineWriter is destroyed.
class LineWriter
{
public:
    /// The stream has to outlive the LineWriter, and to be left alone by others meanwhile.
    explicit LineWriter(std::ostream& out) : mOut(out) {}
    ~LineWriter() { handOver(); }

    LineWriter(const LineWriter&) = delete;
    LineWriter& operator=(const LineWriter&) = delete;

    LineWriter& operator<<(std::string_view text)
    {
        if (mText.size() + text.size() > cEnough) {
            handOver();
        }
        mText += text;
        return *this;
    }

    LineWriter& operator<<(std::uint32_t number)
    {
        char digits[10];
        const auto result = std::to_chars(digits, digits + sizeof digits, number);
        return *this << std::string_view(digits, static_cast<std::size_t>(result.ptr - digits));
    }

    LineWriter& operator<<(EndLine)
    {
        mText += '\n';
        handOver();
        mOut.flush();
        return *this;
    }

private:
    /// Bounds what piles up where no line is flushed.
    static constexpr std::size_t cEnough = 16384;

    void handOver()
    {
        mOut.write(mText.data(), static_cast<std::streamsize>(mText.size()));
        mText.clear();
    }

    std::ostream& mOut;
    std::string mText;
};

} // namespace Oxa

#endif
