#include "win/line_reader.h"

#include <algorithm>

namespace morvex {
namespace {

constexpr size_t kPiece = 1 << 16;
constexpr size_t kLongestLine = 1 << 20;  // bytes

}  // namespace

bool LineReader::Next(std::wstring& line) {
    if (encoding_ == Encoding::Unknown) Detect();
    lineOffset_ = bufferOffset_ + at_;
    size_t searched = 0, end = 0;
    while ((end = FindEnd(at_ + searched)) == std::string::npos) {
        searched = (buffer_.size() - at_) / Width() * Width();
        if (searched > kLongestLine) {
            buffer_.erase(at_ + kLongestLine, searched - kLongestLine);
            bufferOffset_ += searched - kLongestLine;
            searched = kLongestLine;
        }
        if (!Fill()) break;
    }
    whole_ = end != std::string::npos;
    if (!whole_ && at_ == buffer_.size()) return false;
    const size_t stop = whole_ ? end : buffer_.size();
    line = Decode(std::string_view(buffer_).substr(at_, std::min(stop - at_, kLongestLine)));
    at_ = whole_ ? stop + Width() : stop;
    if (separator_ == Separator::LineEnd && line.ends_with(L'\r')) line.pop_back();
    return true;
}

void LineReader::Detect() {
    while (buffer_.size() < 3 && Fill()) {
    }
    const auto starts = [this](std::string_view mark) { return buffer_.starts_with(mark); };
    const bool pair = separator_ == Separator::LineEnd && buffer_.size() >= 2;
    encoding_ = Encoding::Narrow;
    if (pair && (starts("\xFF\xFE") || (buffer_[0] != 0 && buffer_[1] == 0))) encoding_ = Encoding::Utf16;
    if (pair && (starts("\xFE\xFF") || (buffer_[0] == 0 && buffer_[1] != 0))) encoding_ = Encoding::Utf16Big;
    if (starts("\xFF\xFE") || starts("\xFE\xFF"))
        at_ = Width();
    else if (starts("\xEF\xBB\xBF"))
        at_ = 3;
}

// Appends a piece, the lines before the present one dropped; false at the end of the file.
bool LineReader::Fill() {
    bufferOffset_ += at_;
    buffer_.erase(0, at_);
    at_ = 0;
    const size_t size = buffer_.size();
    buffer_.resize(size + piece_);
    DWORD read = 0;
    if (!ReadFile(file_, buffer_.data() + size, static_cast<DWORD>(piece_), &read, nullptr))
        read = 0;  // a pipe's other end went
    piece_ = kPiece;
    buffer_.resize(size + read);
    return read != 0;
}

size_t LineReader::FindEnd(size_t from) const {
    if (encoding_ == Encoding::Narrow) return buffer_.find(separator_ == Separator::Zero ? '\0' : '\n', from);
    const std::string_view lineEnd =
        encoding_ == Encoding::Utf16 ? std::string_view("\n\0", 2) : std::string_view("\0\n", 2);
    for (size_t i = from; i + 1 < buffer_.size(); i += 2) {
        if (std::string_view(buffer_).substr(i, 2) == lineEnd) return i;
    }
    return std::string::npos;
}

std::wstring LineReader::Decode(std::string_view bytes) const {
    std::wstring text;
    if (encoding_ == Encoding::Narrow) {
        const int size = static_cast<int>(bytes.size());
        text.resize(bytes.size());
        int length =
            MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, bytes.data(), size, text.data(), size);
        if (length == 0) length = MultiByteToWideChar(CP_ACP, 0, bytes.data(), size, text.data(), size);
        text.resize(static_cast<size_t>(length));
        return text;
    }
    for (size_t i = 0; i + 1 < bytes.size(); i += 2) {
        const auto first = static_cast<unsigned char>(bytes[i]),
                   second = static_cast<unsigned char>(bytes[i + 1]);
        text +=
            static_cast<wchar_t>(encoding_ == Encoding::Utf16 ? second << 8 | first : first << 8 | second);
    }
    return text;
}

}  // namespace morvex
