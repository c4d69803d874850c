#include "formats/content_recognition.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace morvex {
namespace {

struct Signature {
    std::string_view bytes;
    std::wstring_view displayName;
};

// What a file of the format begins with, blanks and line ends before it left out of text formats.
constexpr Signature kBeginnings[] = {
    {"glTF", L"glTF Binary"},
    {"Kaydara FBX Binary", L"FBX"},
    {"; FBX ", L"FBX"},
    {"**ABCDEFGHIJKLMNOPQRSTUVWXYZ", L"PARASOLID"},
    {"3D Geometry File Format", L"Rhino"},
    {"AutoCAD Binary DXF", L"DWG/DXF 3D"},
    {"AC10", L"DWG/DXF 3D"},
};

bool Holds(std::string_view text, std::string_view part) {
    return text.find(part) != text.npos;
}

// IGES marks the section of each line of 80 columns by a letter in column 73: the first is the start section.
bool LooksLikeIges(std::string_view bytes) {
    constexpr size_t kMark = 72;
    return bytes.size() > kMark + 7 && bytes[kMark] == 'S' &&
           bytes.substr(kMark + 1, 7).find_first_not_of(" 0123456789") == bytes.npos &&
           bytes.substr(0, kMark).find_first_of("\n\r") == bytes.npos;
}

// 80 bytes of anything, the number of triangles, and 50 bytes for each of them.
bool LooksLikeBinaryStl(std::string_view bytes, unsigned long long fileSize) {
    constexpr size_t kHeader = 80, kTriangle = 50;
    std::uint32_t triangles = 0;
    if (bytes.size() < kHeader + sizeof triangles) return false;
    std::memcpy(&triangles, bytes.data() + kHeader, sizeof triangles);
    return triangles > 0 && fileSize == kHeader + sizeof triangles + kTriangle * 1ULL * triangles;
}

// The header of an exchange file names its schema.
std::wstring_view ExchangeFile(std::string_view bytes) {
    return Holds(bytes, "FILE_SCHEMA") && (Holds(bytes, "'IFC") || Holds(bytes, "\"IFC")) ? L"IFC" : L"STEP";
}

}  // namespace

std::wstring_view InputFormatOfContent(std::string_view beginning, unsigned long long fileSize) {
    if (beginning.starts_with("\xEF\xBB\xBF")) beginning.remove_prefix(3);
    std::string_view text = beginning;
    text.remove_prefix(std::min(text.find_first_not_of(" \t\r\n"), text.size()));
    if (text.starts_with("ISO-10303-21;")) return ExchangeFile(text);
    for (const Signature& signature : kBeginnings) {
        if (text.starts_with(signature.bytes)) return signature.displayName;
    }
    if (LooksLikeIges(beginning)) return L"IGES 3D";
    if (LooksLikeBinaryStl(beginning, fileSize)) return L"STL";
    if (text.starts_with("solid") && Holds(text, "facet")) return L"STL";
    if (text.starts_with("0") && Holds(text, "SECTION") && Holds(text, "HEADER")) return L"DWG/DXF 3D";
    if (text.starts_with("{") && Holds(text, "\"asset\"")) return L"glTF";
    return {};
}

}  // namespace morvex
