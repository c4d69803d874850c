#include "win/file_identity.h"

#include <windows.h>

#include "win/paths.h"
#include "win/unique_handle.h"

namespace morvex {
namespace {

std::uint64_t Joined(DWORD high, DWORD low) {
    return std::uint64_t{high} << 32 | low;
}

}  // namespace

std::optional<FileId> IdentityOf(const std::wstring& path) {
    const UniqueHandle file =
        OwnFile(CreateFileW(WithLongPrefix(path).c_str(), FILE_READ_ATTRIBUTES,
                            FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                            FILE_FLAG_BACKUP_SEMANTICS, nullptr));
    BY_HANDLE_FILE_INFORMATION info;
    if (!file || !GetFileInformationByHandle(file.get(), &info)) return std::nullopt;
    return FileId{Joined(info.nFileIndexHigh, info.nFileIndexLow),
                  Joined(info.nFileSizeHigh, info.nFileSizeLow),
                  Joined(info.ftLastWriteTime.dwHighDateTime, info.ftLastWriteTime.dwLowDateTime)};
}

bool SameFile(const std::wstring& a, const std::wstring& b) {
    const std::optional<FileId> first = IdentityOf(a);
    return first && first == IdentityOf(b);
}

bool IsBeingWritten(const std::wstring& path) {
    // Who does not share the file with writers is not let in while there is one.
    return !OwnFile(CreateFileW(WithLongPrefix(path).c_str(), GENERIC_READ,
                                FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING, 0, nullptr));
}

FileStamp StampOf(const std::wstring& path) {
    WIN32_FILE_ATTRIBUTE_DATA data;
    if (!GetFileAttributesExW(WithLongPrefix(path).c_str(), GetFileExInfoStandard, &data))
        return std::nullopt;
    return std::pair(Joined(data.nFileSizeHigh, data.nFileSizeLow),
                     Joined(data.ftLastWriteTime.dwHighDateTime, data.ftLastWriteTime.dwLowDateTime));
}

}  // namespace morvex
