#include "engine/modules/scene/text_file.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <utility>

namespace morvex {
namespace {

constexpr std::size_t kPiece = 1u << 20;

// Writes a number backwards from `end` as a whole number of its last decimal, which is several times faster
// than by the standard library. Null where that would not be sure to round as it does: the number is too
// large, or lies in the middle between two.
char* WriteShort(double number, int decimals, char* end) {
    static constexpr long double kTens[] = {1, 1e1L, 1e2L, 1e3L, 1e4L, 1e5L, 1e6L, 1e7L, 1e8L, 1e9L, 1e10L};
    constexpr long double kLargest = 1ll << 53, kNear = 1e-3L;
    if (decimals < 0 || decimals >= static_cast<int>(std::size(kTens))) return nullptr;
    const long double scaled = std::abs(number) * kTens[decimals];
    if (!(scaled < kLargest)) return nullptr;
    auto whole = static_cast<std::int64_t>(scaled);
    const long double rest = scaled - static_cast<long double>(whole);
    if (std::abs(rest - 0.5L) < kNear) return nullptr;
    whole += rest > 0.5L;
    const bool negative = number < 0 && whole != 0;
    char* at = end;
    bool digits = false;  // zeros at the end are left out
    for (int place = 0; place < decimals; ++place, whole /= 10) {
        const char digit = static_cast<char>('0' + whole % 10);
        digits = digits || digit != '0';
        if (digits) *--at = digit;
    }
    if (digits) *--at = '.';
    do *--at = static_cast<char>('0' + whole % 10);
    while ((whole /= 10) != 0);
    if (negative) *--at = '-';
    return at;
}

}  // namespace

TextFile::TextFile(const std::filesystem::path& path, int decimals)
    : TextFile([this](std::string_view piece) { file_->Write(piece); }, decimals) {
    file_.emplace(path);
}

TextFile::TextFile(std::function<void(std::string_view piece)> take, int decimals)
    : take_(std::move(take)), decimals_(decimals) {
    text_.reserve(kPiece + 4096);
}

TextFile& TextFile::operator<<(std::string_view text) {
    text_ += text;
    if (text_.size() >= kPiece && take_) Flush();
    return *this;
}

TextFile& TextFile::Number(double number, int decimals) {
    char digits[64];
    const char* const end = digits + sizeof digits;
    if (const char* const start = WriteShort(number, decimals, digits + sizeof digits))
        return *this << std::string_view(start, static_cast<std::size_t>(end - start));
    // Large numbers have no use for decimals, and would not fit.
    constexpr double kLargest = 1e15;
    const auto stop =
        std::abs(number) < kLargest
            ? std::to_chars(digits, digits + sizeof digits, number, std::chars_format::fixed, decimals).ptr
            : std::to_chars(digits, digits + sizeof digits, number).ptr;
    std::string_view text(digits, static_cast<std::size_t>(stop - digits));
    if (text.find('.') != std::string_view::npos && text.find('e') == std::string_view::npos) {
        text = text.substr(0, text.find_last_not_of('0') + 1);
        if (text.ends_with('.')) text.remove_suffix(1);
    }
    return *this << (text == "-0" ? "0" : text);
}

void TextFile::Flush() {
    take_(text_);
    text_.clear();
}

bool TextFile::Close() {
    Flush();
    return !file_ || file_->Close();
}

}  // namespace morvex
