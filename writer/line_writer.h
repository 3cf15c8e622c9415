#ifndef WRITER_LINE_WRITER_H
#define WRITER_LINE_WRITER_H

#include <charconv>
#include <cstdint>
#include <cstring>
#include <ostream>
#include <string_view>

namespace Writer {

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
        makeRoom(text.size());
        if (text.size() > sizeof mText) {
            mOut.write(text.data(), static_cast<std::streamsize>(text.size()));
        } else {
            std::memcpy(mText + mSize, text.data(), text.size());
            mSize += text.size();
        }
        return *this;
    }

    LineWriter& operator<<(std::uint32_t number)
    {
        constexpr std::size_t cMostDigits = 10;
        makeRoom(cMostDigits);
        mSize = static_cast<std::size_t>(std::to_chars(mText + mSize, mText + sizeof mText, number).ptr - mText);
        return *this;
    }

    LineWriter& operator<<(EndLine)
    {
        *this << "\n";
        handOver();
        mOut.flush();
        return *this;
    }

private:
    void makeRoom(std::size_t size)
    {
        if (size > sizeof mText - mSize) {
            handOver();
        }
    }

    void handOver()
    {
        mOut.write(mText, static_cast<std::streamsize>(mSize));
        mSize = 0;
    }

    std::ostream& mOut;
    char mText[16384];
    std::size_t mSize = 0;
};

} // namespace Writer

#endif
