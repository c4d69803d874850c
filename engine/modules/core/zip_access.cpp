#include "engine/modules/core/zip_access.h"

#include <algorithm>
#include <minizip/unzip.h>

#include "engine/common/open_file.h"

namespace morvex {
namespace {

voidpf Open(voidpf, const void* path, int mode) {
    const bool creates = (mode & ZLIB_FILEFUNC_MODE_CREATE) != 0;
    return OpenFile(*static_cast<const std::filesystem::path*>(path), creates ? "wb" : "rb");
}

// Hands on a member in pieces, each with the size of the whole.
template <class Take>
void Unpack(const std::filesystem::path& package, const char* name, Take take) {
    constexpr std::uint64_t kMostGain = 1100;  // of the packing
    constexpr int kAnyCase = 2;
    zlib_filefunc64_def access = ZipAccessByPath();
    const unzFile file = unzOpen2_64(&package, &access);
    if (file == nullptr) return;
    unz_file_info64 info{};
    std::error_code unreadable;  // its size is the largest number then, and the member's own is believed
    if (unzLocateFile(file, name, kAnyCase) == UNZ_OK &&
        unzGetCurrentFileInfo64(file, &info, nullptr, 0, nullptr, 0, nullptr, 0) == UNZ_OK &&
        info.uncompressed_size / kMostGain <= std::filesystem::file_size(package, unreadable) &&
        unzOpenCurrentFile(file) == UNZ_OK) {
        std::string piece(1u << 20, '\0');
        for (std::uint64_t left = info.uncompressed_size; left > 0;) {
            const int got = unzReadCurrentFile(
                file, piece.data(), static_cast<unsigned>(std::min<std::uint64_t>(left, piece.size())));
            if (got <= 0) break;
            left -= static_cast<std::uint64_t>(got);
            take(std::string_view(piece).substr(0, static_cast<std::size_t>(got)), info.uncompressed_size);
        }
    }
    unzClose(file);
}

}  // namespace

zlib_filefunc64_def ZipAccessByPath() {
    zlib_filefunc64_def functions{};
    fill_fopen64_filefunc(&functions);
    functions.zopen64_file = Open;
    return functions;
}

std::string ZipMember(const std::filesystem::path& package, const char* name) {
    std::string member;
    Unpack(package, name, [&](std::string_view piece, std::uint64_t size) {
        member.reserve(size);
        member += piece;
    });
    return member;
}

void ReadZipMember(const std::filesystem::path& package, const char* name,
                   const std::function<void(std::string_view lines)>& take) {
    std::string text;
    Unpack(package, name, [&](std::string_view piece, std::uint64_t) {
        text += piece;
        const std::size_t end = text.rfind('\n') + 1;
        take(std::string_view(text).substr(0, end));
        text.erase(0, end);
    });
    take(text);
}

}  // namespace morvex
