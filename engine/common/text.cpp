#include "engine/common/text.h"

namespace morvex {
namespace {

constexpr char32_t kReplacement = 0xfffd;

// Length of the sequence that begins with this byte, 0 when none does.
std::size_t LengthByLead(unsigned char lead) {
    if (lead < 0x80) return 1;
    if (lead < 0xc2) return 0;
    if (lead < 0xe0) return 2;
    if (lead < 0xf0) return 3;
    return lead < 0xf5 ? 4 : 0;
}

// Length of the well-formed UTF-8 sequence that `text` starts with, or 0. `character` receives its value.
std::size_t SequenceLength(std::string_view text, char32_t& character) {
    const auto byte = [&](std::size_t at) { return static_cast<unsigned char>(text[at]); };
    const std::size_t length = LengthByLead(byte(0));
    if (length == 0 || length > text.size()) return 0;
    constexpr unsigned kLeadMask[] = {0, 0x7f, 0x1f, 0x0f, 0x07};
    character = byte(0) & kLeadMask[length];
    for (std::size_t at = 1; at < length; ++at) {
        if ((byte(at) & 0xc0) != 0x80) return 0;
        character = character << 6 | (byte(at) & 0x3fu);
    }
    constexpr char32_t kLeast[] = {0, 0, 0x80, 0x800, 0x10000};
    const bool surrogate = character >= 0xd800 && character < 0xe000;
    return character < kLeast[length] || character > 0x10ffff || surrogate ? 0 : length;
}

bool ForbiddenInXml(char32_t character) {
    return (character < 0x20 && character != '\t' && character != '\n' && character != '\r') ||
           character == 0xfffe || character == 0xffff;
}

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

char32_t TakeCharacter(std::string_view& utf8) {
    char32_t character = kReplacement;
    const std::size_t length = SequenceLength(utf8, character);
    utf8.remove_prefix(length == 0 ? 1 : length);
    return length == 0 ? kReplacement : character;
}

void AppendUtf8(std::string& text, char32_t character) {
    const auto tail = [&](int shift) { text += static_cast<char>(0x80 | ((character >> shift) & 0x3f)); };
    if (character < 0x80) {
        text += static_cast<char>(character);
    } else if (character < 0x800) {
        text += static_cast<char>(0xc0 | (character >> 6));
        tail(0);
    } else if (character < 0x10000) {
        text += static_cast<char>(0xe0 | (character >> 12));
        tail(6), tail(0);
    } else {
        text += static_cast<char>(0xf0 | (character >> 18));
        tail(12), tail(6), tail(0);
    }
}

std::string XmlText(std::string_view text) {
    std::string escaped;
    while (!text.empty()) {
        switch (const char32_t character = TakeCharacter(text)) {
            case '&':
                escaped += "&amp;";
                break;
            case '<':
                escaped += "&lt;";
                break;
            case '>':
                escaped += "&gt;";
                break;
            case '"':
                escaped += "&quot;";
                break;
            case '\n':
                escaped += "&#10;";
                break;
            default:
                AppendUtf8(escaped, ForbiddenInXml(character) ? kReplacement : character);
        }
    }
    return escaped;
}

std::string CleanUtf8(std::string_view text) {
    std::string clean;
    while (!text.empty()) AppendUtf8(clean, TakeCharacter(text));
    return clean;
}

DecodedText::DecodedText(std::string_view bytes) : view_(bytes) {
    const bool little = bytes.starts_with("\xff\xfe"), big = bytes.starts_with("\xfe\xff");
    if (little || big) {
        decoded_ = FromUtf16(bytes.substr(2), big);
        view_ = decoded_;
    } else if (bytes.starts_with("\xef\xbb\xbf")) {
        view_.remove_prefix(3);
    }
}

std::string LowerAscii(std::string_view text) {
    std::string lower(text);
    for (char& c : lower) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    return lower;
}

}  // namespace morvex
