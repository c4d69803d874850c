#include "engine/cad/step_text.h"

#include <algorithm>
#include <cstdio>
#include <fstream>

#include "engine/worker/text.h"

namespace morvex {
namespace {

constexpr std::size_t kPiece = 1u << 20;

bool IsAscii(char c) {
    return static_cast<unsigned char>(c) < 0x80;
}

// The value of the sequence that valid UTF-8 starts with; the sequence is taken off.
char32_t TakeLetter(std::string_view& utf8) {
    const auto lead = static_cast<unsigned char>(utf8.front());
    const std::size_t length = lead < 0xe0 ? 2 : lead < 0xf0 ? 3 : 4;
    char32_t letter = lead & (0xffu >> (length + 1));
    for (std::size_t at = 1; at < length; ++at)
        letter = letter << 6 | (static_cast<unsigned char>(utf8[at]) & 0x3fu);
    utf8.remove_prefix(length);
    return letter;
}

// Letters of one kind share an escape.
void EscapeRun(std::string_view run, std::string& escaped) {
    const std::string clean = CleanUtf8(run);
    std::string_view rest = clean;
    constexpr char32_t kBeyondShort = 0x10000;
    bool open = false, isLong = false;
    while (!rest.empty()) {
        const char32_t letter = TakeLetter(rest);
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

}  // namespace

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

bool EscapeStepFile(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::string piece(kPiece, '\0');
    const auto read = [&] {
        piece.resize(kPiece);
        in.read(piece.data(), static_cast<std::streamsize>(kPiece));
        piece.resize(static_cast<std::size_t>(in.gcount()));
        return !piece.empty();
    };
    bool ascii = true;
    while (ascii && read()) ascii = std::ranges::all_of(piece, IsAscii);
    if (ascii) return in.eof();

    in.clear();
    in.seekg(0);
    std::filesystem::path escapedPath = path;
    escapedPath += ".escaped";
    std::ofstream out(escapedPath, std::ios::binary);
    std::string rest;  // a run that may go on in the next piece
    while (read()) {
        piece.insert(0, rest);
        const auto end = static_cast<std::size_t>(std::find_if(piece.rbegin(), piece.rend(), IsAscii).base() -
                                                  piece.begin());
        rest = piece.substr(end);
        out << EscapeStepText(std::string_view(piece).substr(0, end));
    }
    out << EscapeStepText(rest);
    out.close();
    std::error_code error;
    if (out) std::filesystem::rename(escapedPath, path, error);
    return out && !error;
}

}  // namespace morvex
