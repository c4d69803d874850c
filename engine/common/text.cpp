#include "engine/common/text.h"

#include <cstdint>

namespace morvex {
namespace {

constexpr std::string_view kReplacement = "\xef\xbf\xbd";

// Length of the well-formed UTF-8 sequence that `text` starts with, or 0. `character` receives its value.
std::size_t SequenceLength(std::string_view text, std::uint32_t& character) {
    const auto byte = [&](std::size_t at) { return static_cast<unsigned char>(text[at]); };
    const unsigned char lead = byte(0);
    const std::size_t length = lead < 0x80   ? 1
                               : lead < 0xc2 ? 0
                               : lead < 0xe0 ? 2
                               : lead < 0xf0 ? 3
                               : lead < 0xf5 ? 4
                                             : 0;
    if (length == 0 || length > text.size()) return 0;
    constexpr unsigned kLeadMask[] = {0, 0x7f, 0x1f, 0x0f, 0x07};
    character = lead & kLeadMask[length];
    for (std::size_t at = 1; at < length; ++at) {
        if ((byte(at) & 0xc0) != 0x80) return 0;
        character = character << 6 | (byte(at) & 0x3fu);
    }
    constexpr std::uint32_t kLeast[] = {0, 0, 0x80, 0x800, 0x10000};
    const bool surrogate = character >= 0xd800 && character < 0xe000;
    return character < kLeast[length] || character > 0x10ffff || surrogate ? 0 : length;
}

bool ForbiddenInXml(std::uint32_t character) {
    return (character < 0x20 && character != '\t' && character != '\n' && character != '\r') ||
           character == 0xfffe || character == 0xffff;
}

template <class Append>
void ForEach(std::string_view text, Append append) {
    while (!text.empty()) {
        std::uint32_t character = 0;
        const std::size_t length = SequenceLength(text, character);
        append(length == 0 ? kReplacement : text.substr(0, length), character);
        text.remove_prefix(length == 0 ? 1 : length);
    }
}

}  // namespace

std::string XmlText(std::string_view text) {
    std::string escaped;
    ForEach(text, [&](std::string_view bytes, std::uint32_t character) {
        switch (character) {
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
                escaped += ForbiddenInXml(character) ? (bytes == kReplacement ? bytes : kReplacement) : bytes;
        }
    });
    return escaped;
}

std::string CleanUtf8(std::string_view text) {
    std::string clean;
    ForEach(text, [&](std::string_view bytes, std::uint32_t) { clean += bytes; });
    return clean;
}

}  // namespace morvex
