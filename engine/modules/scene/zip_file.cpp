#include "engine/modules/scene/zip_file.h"

#include <algorithm>
#include <minizip/zip.h>

#include "engine/modules/core/zip_access.h"

namespace morvex {
namespace {

constexpr std::size_t kPiece = 1u << 30;     // lengths of the library's calls are 32 bits
constexpr std::size_t kSmall = 0xf0000000u;  // from here on members need the 64-bit form
constexpr uLong kFirstDay = 0x210000;  // the earliest date there is, so that equal models make equal files

}  // namespace

ZipFile::ZipFile(const std::filesystem::path& path) {
    zlib_filefunc64_def access = ZipAccessByPath();
    archive_ = zipOpen2_64(&path, APPEND_STATUS_CREATE, nullptr, &access);
    failed_ = archive_ == nullptr;
}

ZipFile::~ZipFile() {
    Close();
}

void ZipFile::Add(const std::string& name, std::string_view contents) {
    if (failed_) return;
    zip_fileinfo info{};
    info.dosDate = kFirstDay;
    failed_ = zipOpenNewFileInZip64(archive_, name.c_str(), &info, nullptr, 0, nullptr, 0, nullptr,
                                    Z_DEFLATED, Z_DEFAULT_COMPRESSION, contents.size() >= kSmall) != ZIP_OK;
    while (!failed_ && !contents.empty()) {
        const std::size_t size = std::min(contents.size(), kPiece);
        failed_ = zipWriteInFileInZip(archive_, contents.data(), static_cast<unsigned>(size)) != ZIP_OK;
        contents.remove_prefix(size);
    }
    failed_ = failed_ || zipCloseFileInZip(archive_) != ZIP_OK;
}

bool ZipFile::Close() {
    if (archive_ != nullptr && zipClose(archive_, nullptr) != ZIP_OK) failed_ = true;
    archive_ = nullptr;
    return !failed_;
}

}  // namespace morvex
