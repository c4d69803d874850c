#include "engine/modules/core/zip_access.h"

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

}  // namespace morvex
