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

}  // namespace

zlib_filefunc64_def ZipAccessByPath() {
    zlib_filefunc64_def functions{};
    fill_fopen64_filefunc(&functions);
    functions.zopen64_file = Open;
    return functions;
}

std::string ZipMember(const std::filesystem::path& package, const char* name) {
    constexpr std::uint64_t kMostGain = 1100;  // of the packing
    constexpr int kAnyCase = 2;
    std::string member;
    zlib_filefunc64_def access = ZipAccessByPath();
    const unzFile file = unzOpen2_64(&package, &access);
    if (file == nullptr) return member;
    unz_file_info64 info{};
    std::error_code unreadable;  // its size is the largest number then, and the member's own is believed
    if (unzLocateFile(file, name, kAnyCase) == UNZ_OK &&
        unzGetCurrentFileInfo64(file, &info, nullptr, 0, nullptr, 0, nullptr, 0) == UNZ_OK &&
        info.uncompressed_size / kMostGain <= std::filesystem::file_size(package, unreadable) &&
        unzOpenCurrentFile(file) == UNZ_OK) {
        member.resize(info.uncompressed_size);
        std::size_t done = 0;
        for (int got = 1; got > 0 && done < member.size();
             done += static_cast<std::size_t>(std::max(got, 0))) {
            const std::size_t piece = std::min<std::size_t>(member.size() - done, 1u << 24);
            got = unzReadCurrentFile(file, member.data() + done, static_cast<unsigned>(piece));
        }
        member.resize(done);
    }
    unzClose(file);
    return member;
}

}  // namespace morvex
