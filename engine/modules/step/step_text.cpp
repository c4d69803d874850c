#include "engine/modules/step/step_text.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <fstream>

#include "engine/common/text.h"

namespace morvex {
namespace {

constexpr std::size_t kPiece = 1u << 20;

bool IsAscii(char c) {
    return static_cast<unsigned char>(c) < 0x80;
}

// Letters of one kind share an escape.
void EscapeRun(std::string_view run, std::string& escaped) {
    constexpr char32_t kBeyondShort = 0x10000;
    bool open = false, isLong = false;
    while (!run.empty()) {
        const char32_t letter = TakeCharacter(run);
        if (!open || isLong != (letter >= kBeyondShort)) {
            if (open) escaped += "\\X0\\";
            isLong = letter >= kBeyondShort;
            escaped += isLong ? "\\X4\\" : "\\X2\\";
            open = true;
        }
        char digits[16];
        std::snprintf(digits, sizeof digits, isLong ? "%08X" : "%04X", static_cast<unsigned>(letter));
        escaped += digits;
    }
    if (open) escaped += "\\X0\\";
}

// Appends the letters of so many hexadecimal digits each that the text begins with, and takes them off it.
void TakeLetters(std::string_view& text, std::size_t digits, std::string& decoded) {
    while (text.size() >= digits) {
        unsigned letter = 0;
        const auto [stop, error] = std::from_chars(text.data(), text.data() + digits, letter, 16);
        if (error != std::errc{} || stop != text.data() + digits) return;
        AppendUtf8(decoded, static_cast<char32_t>(letter));
        text.remove_prefix(digits);
        if (digits == 2) return;
    }
}

}  // namespace

std::string DecodeStepText(std::string_view text) {
    constexpr struct {
        std::string_view mark;
        std::size_t digits;
    } kEscapes[] = {{"\\X\\", 2}, {"\\X2\\", 4}, {"\\X4\\", 8}, {"\\X0\\", 0}, {"\\\\", 0}};
    std::string decoded;
    while (!text.empty()) {
        const auto* const escape =
            std::ranges::find_if(kEscapes, [&](const auto& one) { return text.starts_with(one.mark); });
        if (escape != std::end(kEscapes)) {
            text.remove_prefix(escape->mark.size());
            if (escape->mark.size() == 2) decoded += '\\';
            if (escape->digits > 0) TakeLetters(text, escape->digits, decoded);
        } else if (text.starts_with("\\S\\") && text.size() > 3) {
            AppendUtf8(decoded, static_cast<char32_t>((text[3] & 0x7f) | 0x80));
            text.remove_prefix(4);
        } else {
            decoded += text.front();
            text.remove_prefix(1);
        }
    }
    return decoded;
}

std::string EscapeStepText(std::string_view utf8) {
    std::string escaped;
    while (!utf8.empty()) {
        const auto start = static_cast<std::size_t>(std::ranges::find_if_not(utf8, IsAscii) - utf8.begin());
        escaped += utf8.substr(0, start);
        utf8.remove_prefix(start);
        const auto length = static_cast<std::size_t>(std::ranges::find_if(utf8, IsAscii) - utf8.begin());
        EscapeRun(utf8.substr(0, length), escaped);
        utf8.remove_prefix(length);
    }
    return escaped;
}

StepTextBuffer::StepTextBuffer(const std::filesystem::path& path) : file_(path, std::ios::binary) {
    pending_.reserve(kPiece + 4096);
}

StepTextBuffer::int_type StepTextBuffer::overflow(int_type c) {
    if (traits_type::eq_int_type(c, traits_type::eof())) return traits_type::not_eof(c);
    const char letter = traits_type::to_char_type(c);
    return xsputn(&letter, 1) == 1 ? c : traits_type::eof();
}

std::streamsize StepTextBuffer::xsputn(const char* text, std::streamsize size) {
    pending_.append(text, static_cast<std::size_t>(size));
    if (pending_.size() >= kPiece) Flush(false);
    return file_ ? size : 0;
}

// Keeps back letters at the end that may go on, unless these are the last.
void StepTextBuffer::Flush(bool last) {
    const auto end =
        last ? pending_.size()
             : static_cast<std::size_t>(std::find_if(pending_.rbegin(), pending_.rend(), IsAscii).base() -
                                        pending_.begin());
    if (std::all_of(pending_.begin(), pending_.begin() + static_cast<std::ptrdiff_t>(end), IsAscii)) {
        file_.write(pending_.data(), static_cast<std::streamsize>(end));
    } else {
        file_ << EscapeStepText(std::string_view(pending_).substr(0, end));
    }
    pending_.erase(0, end);
}

bool StepTextBuffer::Close() {
    Flush(true);
    file_.close();
    return !file_.fail();
}

}  // namespace morvex
