#include "engine/modules/core/text_lines.h"

#include <charconv>

#include "engine/common/text.h"

namespace morvex {
namespace {

std::string FromUtf16(std::string_view bytes, bool bigEndian) {
    const auto unit = [&](std::size_t at) {
        const auto first = static_cast<unsigned char>(bytes[at]),
                   second = static_cast<unsigned char>(bytes[at + 1]);
        return static_cast<char32_t>(bigEndian ? first << 8 | second : second << 8 | first);
    };
    std::string text;
    text.reserve(bytes.size());
    for (std::size_t at = 0; at + 1 < bytes.size(); at += 2) {
        char32_t character = unit(at);
        if (character >= 0xd800 && character < 0xdc00 && at + 3 < bytes.size()) {
            const char32_t low = unit(at + 2);
            if (low >= 0xdc00 && low < 0xe000) {
                character = 0x10000 + ((character - 0xd800) << 10) + (low - 0xdc00);
                at += 2;
            }
        }
        AppendUtf8(text, character);
    }
    return text;
}

}  // namespace

DecodedText::DecodedText(std::string_view bytes) : view_(bytes) {
    const bool little = bytes.starts_with("\xff\xfe"), big = bytes.starts_with("\xfe\xff");
    if (little || big) {
        decoded_ = FromUtf16(bytes.substr(2), big);
        view_ = decoded_;
    } else if (bytes.starts_with("\xef\xbb\xbf")) {
        view_.remove_prefix(3);
    }
}

std::optional<std::string_view> TakeLine(std::string_view& text) {
    if (text.empty()) return std::nullopt;
    const auto end = text.find_first_of("\r\n");
    const std::string_view line = text.substr(0, end);
    if (end == std::string_view::npos) {
        text = {};
    } else {
        text.remove_prefix(end + (text.substr(end).starts_with("\r\n") ? 2 : 1));
    }
    return line;
}

std::string_view TakeWord(std::string_view& line) {
    constexpr std::string_view kBlanks = " \t";
    const auto start = line.find_first_not_of(kBlanks);
    if (start == std::string_view::npos) {
        line = {};
        return {};
    }
    line.remove_prefix(start);
    const std::string_view word = line.substr(0, line.find_first_of(kBlanks));
    line.remove_prefix(word.size());
    return word;
}

std::string_view Trimmed(std::string_view text) {
    constexpr std::string_view kBlanks = " \t\r\n";
    const auto first = text.find_first_not_of(kBlanks);
    return first == std::string_view::npos ? std::string_view()
                                           : text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

std::optional<double> NumberIn(std::string_view text) {
    if (text.starts_with('+')) text.remove_prefix(1);
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return value;
}

}  // namespace morvex
