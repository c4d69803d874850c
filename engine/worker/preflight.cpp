#include "engine/worker/preflight.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <system_error>

#include "engine/common/formats.h"

namespace morvex {
namespace {

using std::string_view;

struct Excerpt {
    std::string head, tail;
    std::uint64_t size = 0;

    bool HeadHas(string_view text) const { return head.find(text) != std::string::npos; }
    bool TailHas(string_view text) const { return tail.find(text) != std::string::npos; }
    std::uint32_t Word(std::size_t at) const {
        std::uint32_t word = 0;
        if (at + sizeof word <= head.size()) std::memcpy(&word, head.data() + at, sizeof word);
        return word;
    }
};

constexpr std::size_t kHeadSize = 64u << 10, kTailSize = 16u << 10;

Outcome Unknown(string_view format) {
    return Outcome::Fail(ZEL_UNKNOWN_TYPE, "The file does not contain " + std::string(format) + " data");
}
Outcome CutOff() {
    return Outcome::Fail(ZEL_CORRUPTED, "The end of the file is missing");
}
Outcome Version(string_view what) {
    return Outcome::Fail(ZEL_VERSION, std::string(what) + " is not supported");
}

Outcome CannotOpen(const std::string& why) {
    return Outcome::Fail(ZEL_CANNOT_OPEN_INPUT, "The input cannot be opened: " + why);
}

bool IsText(const Excerpt& file) {
    return std::ranges::none_of(file.head, [](char c) { return c >= 0 && c < '\t'; });
}

Outcome CheckStep(const Excerpt& file) {
    if (file.head.starts_with("PK") || file.head.starts_with("\x1f\x8b")) return Version("Compressed STEP");
    if (file.HeadHas("<?xml")) return Version("STEP in XML");
    if (!file.HeadHas("ISO-10303-21") || file.HeadHas("FILE_SCHEMA(('IFC")) return Unknown("STEP");
    return Outcome::Ok();  // any length of text may follow the end, which the reader looks for
}

Outcome CheckIfc(const Excerpt& file) {
    if (file.head.starts_with("PK")) return Version("Compressed IFC");
    if (file.HeadHas("<?xml")) return Version("IFC in XML");
    const auto schema = file.head.find("FILE_SCHEMA");
    if (!file.HeadHas("ISO-10303-21") || schema == std::string::npos) return Unknown("IFC");
    const auto name = file.head.find("IFC", schema);
    if (name == std::string::npos || name > schema + 64) return Unknown("IFC");
    if (file.head.compare(name, 4, "IFC2") != 0 && file.head.compare(name, 5, "IFC4'") != 0) {
        return Version("This IFC schema");
    }
    return file.TailHas("END-ISO-10303-21") ? Outcome::Ok() : CutOff();
}

// Fixed lines of 80 columns, the 73rd names the section.
Outcome CheckIges(const Excerpt& file) {
    constexpr std::size_t kSectionColumn = 72;
    const auto sectionOf = [](string_view line) {
        return line.size() > kSectionColumn ? line[kSectionColumn] : ' ';
    };
    const char first = sectionOf(string_view(file.head).substr(0, file.head.find('\n')));
    if (first == 'C' || first == 'B') return Version("Compressed or binary IGES");
    if (first != 'S' && first != 'F') return Unknown("IGES");
    string_view tail = file.tail;
    const auto end = tail.find_last_not_of(string_view("\r\n \0\x1a", 5));
    if (end == string_view::npos) return CutOff();
    tail = tail.substr(0, end + 1);
    const auto start = tail.rfind('\n');
    return sectionOf(start == string_view::npos ? tail : tail.substr(start + 1)) == 'T' ? Outcome::Ok()
                                                                                        : CutOff();
}

bool EqualButCase(char a, char lower) {
    return std::tolower(static_cast<unsigned char>(a)) == lower;
}

bool StartsWithWord(string_view text, string_view word) {
    constexpr string_view kMark = "\xef\xbb\xbf";
    if (text.starts_with(kMark)) text.remove_prefix(kMark.size());
    text.remove_prefix(std::min(text.size(), text.find_first_not_of(" \t\r\n")));
    return std::ranges::equal(text.substr(0, word.size()), word, EqualButCase);
}

bool HasWord(string_view text, string_view word) {
    return std::search(text.begin(), text.end(), word.begin(), word.end(), EqualButCase) != text.end();
}

// A binary file may be longer than its triangles by less than one.
Outcome CheckStl(const Excerpt& file) {
    constexpr std::uint64_t kHeader = 84, kTriangle = 50;
    const std::uint64_t needed = kHeader + kTriangle * file.Word(kHeader - 4);
    if (file.size >= needed && file.size < needed + kTriangle && file.size >= kHeader) {
        return needed == kHeader ? Outcome::Fail(ZEL_EMPTY, "The file contains no triangles") : Outcome::Ok();
    }
    if (StartsWithWord(file.head, "solid") && IsText(file))
        return HasWord(file.tail, "endsolid") ? Outcome::Ok() : CutOff();
    if (IsText(file) || file.size < kHeader) return Unknown("STL");
    return Outcome::Fail(ZEL_CORRUPTED,
                         "The size of the file and the number of triangles in its header do not agree");
}

// Text in UTF-16 with the bytes that say nothing in plain letters left out.
Excerpt Narrowed(Excerpt file) {
    if (!file.head.starts_with("\xff\xfe") && !file.head.starts_with("\xfe\xff")) return file;
    std::erase(file.head, '\0');
    std::erase(file.tail, '\0');
    file.head.replace(0, 2, "\n");
    return file;
}

Outcome CheckObj(const Excerpt& excerpt) {
    const Excerpt file = Narrowed(excerpt);
    const bool vertex = file.head.starts_with("v ") || file.HeadHas("\nv ") || file.HeadHas("\nv\t");
    const bool longComment = file.size > file.head.size() && file.HeadHas("#");
    return IsText(file) && (vertex || longComment) ? Outcome::Ok() : Unknown("OBJ");
}

Outcome CheckGltf(const Excerpt& file) {
    if (file.head.starts_with("glTF")) {
        if (file.Word(4) != 2) return Version("This version of glTF Binary");
        if (file.Word(8) > file.size) return CutOff();
        return file.Word(8) < 20 ? Outcome::Fail(ZEL_CORRUPTED, "The file is shorter than its own header")
                                 : Outcome::Ok();
    }
    const auto first = file.head.find_first_not_of(" \t\r\n\xef\xbb\xbf");
    if (first == std::string::npos || file.head[first] != '{' || !IsText(file)) return Unknown("glTF");
    return file.tail.find_last_not_of(" \t\r\n") == file.tail.rfind('}') ? Outcome::Ok() : CutOff();
}

Outcome CheckFbx(const Excerpt& file) {
    constexpr std::uint32_t kOldest = 6000;
    if (file.head.starts_with("Kaydara FBX Binary")) {
        return file.Word(23) < kOldest ? Version("This version of FBX") : Outcome::Ok();
    }
    return IsText(file) && file.HeadHas("FBX") ? Outcome::Ok() : Unknown("FBX");
}

Outcome CheckDxf(const Excerpt& file) {
    if (file.head.starts_with("AutoCAD Binary DXF")) return Version("Binary DXF");
    if (file.head.starts_with("AC10")) return Version("DWG");
    if (!IsText(file) || !file.HeadHas("SECTION")) return Unknown("DXF");
    return file.TailHas("EOF") ? Outcome::Ok() : CutOff();
}

Outcome CheckBrep(const Excerpt& file) {
    return file.HeadHas("DBRep_DrawableShape") || file.HeadHas("CASCADE Topology") ? Outcome::Ok()
                                                                                   : Unknown("BREP");
}

// XML whose outermost element has that name; a file without its end is cut off.
Outcome CheckXml(const Excerpt& excerpt, const char* format, const std::string& element) {
    if (excerpt.head.starts_with("PK")) return Version(std::string("Compressed ") + format);
    const Excerpt file = Narrowed(excerpt);
    if (!HasWord(file.head, "<" + element) || !IsText(file)) return Unknown(format);
    return HasWord(file.tail, element + ">") ? Outcome::Ok() : CutOff();
}

Outcome CheckVrml(const Excerpt& file) {
    if (file.head.starts_with("\x1f\x8b")) return Version("Compressed VRML");
    if (file.head.starts_with("#VRML V1.0") || file.head.starts_with("#Inventor")) return Version("VRML 1");
    return file.head.starts_with("#VRML V2.0") || file.head.starts_with("#X3D V") ? Outcome::Ok()
                                                                                  : Unknown("VRML");
}

// As XML, or in the manner of VRML.
Outcome CheckX3d(const Excerpt& file) {
    if (file.head.starts_with("\x1f\x8b")) return Version("Compressed X3D");
    return file.head.starts_with("#X3D V") ? Outcome::Ok() : CheckXml(file, "X3D", "x3d");
}

Outcome CheckOff(const Excerpt& file) {
    string_view text = file.head;
    for (;;) {  // comments may stand first
        text.remove_prefix(std::min(text.size(), text.find_first_not_of(" \t\r\n")));
        if (!text.starts_with('#')) break;
        text.remove_prefix(std::min(text.size(), text.find_first_of("\r\n")));
    }
    return text.substr(0, text.find_first_of(" \t\r\n")).ends_with("OFF") ? Outcome::Ok() : Unknown("OFF");
}

Outcome Check3ds(const Excerpt& file) {
    std::uint32_t size = 0;
    if (!file.head.starts_with("MM") || file.head.size() < 6) return Unknown("3DS");
    std::memcpy(&size, file.head.data() + 2, sizeof size);
    return size > file.size ? CutOff() : Outcome::Ok();
}

Outcome CheckContents(FormatId format, const Excerpt& file) {
    switch (format) {
        case FormatId::Step:
            return CheckStep(file);
        case FormatId::Iges:
            return CheckIges(file);
        case FormatId::Brep:
            return CheckBrep(file);
        case FormatId::Stl:
            return CheckStl(file);
        case FormatId::Obj:
            return CheckObj(file);
        case FormatId::Gltf:
        case FormatId::Glb:
            return CheckGltf(file);
        case FormatId::Fbx:
            return CheckFbx(file);
        case FormatId::Ifc:
            return CheckIfc(file);
        case FormatId::Dxf:
        case FormatId::DxfDrawing:
            return CheckDxf(file);
        case FormatId::Collada:
            return CheckXml(file, "Collada", "collada");
        case FormatId::ThreeMf:
            return file.head.starts_with("PK") ? Outcome::Ok() : Unknown("3MF");
        case FormatId::Amf:
            return CheckXml(file, "AMF", "amf");
        case FormatId::X3d:
            return CheckX3d(file);
        case FormatId::Vrml:
            return CheckVrml(file);
        case FormatId::Ply:
            return file.head.starts_with("ply\n") || file.head.starts_with("ply\r") ? Outcome::Ok()
                                                                                    : Unknown("PLY");
        case FormatId::Off:
            return CheckOff(file);
        case FormatId::ThreeDs:
            return Check3ds(file);
        default:
            return Outcome::Ok();
    }
}

bool ReadAt(std::ifstream& file, std::uint64_t offset, std::size_t size, std::string& text) {
    text.resize(size);
    file.seekg(static_cast<std::streamoff>(offset));
    file.read(text.data(), static_cast<std::streamsize>(size));
    return file.good();
}

Outcome CheckFile(std::ifstream& file, const Request& request) {
    std::error_code error;
    Excerpt excerpt;
    excerpt.size = std::filesystem::file_size(request.input, error);
    if (error) return CannotOpen(error.message());
    if (excerpt.size == 0) return Outcome::Fail(ZEL_EMPTY, "The file is empty");
    const auto headSize = std::min<std::uint64_t>(excerpt.size, kHeadSize);
    const auto tailSize = std::min<std::uint64_t>(excerpt.size, kTailSize);
    if (!ReadAt(file, 0, headSize, excerpt.head) ||
        !ReadAt(file, excerpt.size - tailSize, tailSize, excerpt.tail)) {
        return Outcome::Fail(ZEL_CANNOT_OPEN_INPUT, "The input could not be read");
    }
    if (excerpt.size == headSize && excerpt.head.find_first_not_of(" \t\r\n") == std::string::npos) {
        return Outcome::Fail(ZEL_EMPTY, "The file contains only blanks");
    }
    return CheckContents(request.from->id, excerpt);
}

}  // namespace

Outcome CheckInput(const Request& request) {
    std::error_code error;
    // Before the opening: a named pipe in the place of the input would hold it up.
    const auto status = std::filesystem::status(request.input, error);
    if (status.type() == std::filesystem::file_type::not_found)
        return Outcome::Fail(ZEL_NO_FILE, "There is no such input file");
    if (error) return CannotOpen(error.message());
    if (!std::filesystem::is_regular_file(status)) {
        return Outcome::Fail(ZEL_CANNOT_OPEN_INPUT, "The input is not a file");
    }
    std::ifstream file(request.input, std::ios::binary);
    if (!file) return CannotOpen(std::generic_category().message(errno));
    return CheckFile(file, request);
}

}  // namespace morvex
