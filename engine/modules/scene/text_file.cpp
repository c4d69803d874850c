#include "engine/modules/scene/text_file.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace morvex {
namespace {

constexpr std::size_t kPiece = 1u << 20;

}  // namespace

TextFile::TextFile(const std::filesystem::path& path, int decimals) : file_(path), decimals_(decimals) {
    text_.reserve(kPiece + 4096);
}

TextFile& TextFile::operator<<(std::string_view text) {
    text_ += text;
    if (file_ && text_.size() >= kPiece) Flush();
    return *this;
}

TextFile& TextFile::Number(double number, int decimals) {
    char digits[64];
    // Large numbers have no use for decimals, and would not fit.
    constexpr double kLargest = 1e15;
    const auto end =
        std::abs(number) < kLargest
            ? std::to_chars(digits, digits + sizeof digits, number, std::chars_format::fixed, decimals).ptr
            : std::to_chars(digits, digits + sizeof digits, number).ptr;
    std::string_view text(digits, static_cast<std::size_t>(end - digits));
    if (text.find('.') != std::string_view::npos && text.find('e') == std::string_view::npos) {
        text = text.substr(0, text.find_last_not_of('0') + 1);
        if (text.ends_with('.')) text.remove_suffix(1);
    }
    return *this << (text == "-0" ? "0" : text);
}

void TextFile::Flush() {
    file_->Write(text_);
    text_.clear();
}

bool TextFile::Close() {
    Flush();
    return file_->Close();
}

}  // namespace morvex
