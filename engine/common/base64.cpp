#include "engine/common/base64.h"

namespace morvex {
namespace {

constexpr std::string_view kDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

}  // namespace

std::string Base64(std::string_view bytes) {
    std::string text;
    for (std::size_t at = 0; at < bytes.size(); at += 3) {
        unsigned group = 0;
        for (std::size_t byte = at; byte < at + 3; ++byte)
            group = group << 8 | (byte < bytes.size() ? static_cast<unsigned char>(bytes[byte]) : 0u);
        for (std::size_t digit = 0; digit < 4; ++digit)
            text += at + digit > bytes.size() ? '=' : kDigits[group >> (18 - 6 * digit) & 63];
    }
    return text;
}

std::string FromBase64(std::string_view text) {
    std::string bytes;
    unsigned group = 0, bits = 0;
    for (const char c : text) {
        const auto digit = kDigits.find(c);
        if (digit == std::string_view::npos) break;
        group = group << 6 | static_cast<unsigned>(digit);
        bits += 6;
        if (bits < 8) continue;
        bits -= 8;
        bytes += static_cast<char>(group >> bits & 0xff);
    }
    return bytes;
}

}  // namespace morvex
