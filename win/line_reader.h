#pragma once

#include <windows.h>

#include <cstdint>
#include <string>
#include <string_view>

namespace morvex {

// Reads texts of any length from a file or a pipe, line by line, and holds no more than a piece of them.
// UTF-16 in either order with its mark, or without one where the first byte pair shows it; else UTF-8, and
// the system's ANSI code page for lines that are not. One thread.
class LineReader {
  public:
    enum class Separator { LineEnd, Zero };  // line ends are LF or CRLF; zero bytes stand between 8-bit texts

    // `file` stays the caller's.
    explicit LineReader(HANDLE file, Separator separator = Separator::LineEnd)
        : file_(file), separator_(separator) {}

    // The next line without its end, what is beyond a million bytes cut off; false when there is none.
    bool Next(std::wstring& line);

    // Of the line that came last: where it begins in the file, in bytes, and whether its end was there.
    std::uint64_t Offset() const { return lineOffset_; }
    bool Whole() const { return whole_; }

  private:
    enum class Encoding { Unknown, Narrow, Utf16, Utf16Big };

    void Detect();
    bool Fill();
    size_t FindEnd(size_t from) const;
    size_t Width() const { return encoding_ == Encoding::Narrow ? 1 : 2; }
    std::wstring Decode(std::string_view bytes) const;

    HANDLE file_;
    Separator separator_;
    Encoding encoding_ = Encoding::Unknown;
    std::string buffer_;
    size_t piece_ = 1 << 12;  // read next; the first is small, since often only one line is wanted
    size_t at_ = 0;           // of the next line, in the buffer
    std::uint64_t bufferOffset_ = 0;
    std::uint64_t lineOffset_ = 0;
    bool whole_ = false;
};

}  // namespace morvex
