#include "win/file_identity.h"

#include <windows.h>

#include "win/paths.h"
#include "win/unique_handle.h"

namespace morvex {
namespace {

std::uint64_t Joined(DWORD high, DWORD low) {
    return std::uint64_t{high} << 32 | low;
}

bool Ask(const std::wstring& path, BY_HANDLE_FILE_INFORMATION& info) {
    const UniqueHandle file =
        OwnFile(CreateFileW(WithLongPrefix(path).c_str(), FILE_READ_ATTRIBUTES,
                            FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                            FILE_FLAG_BACKUP_SEMANTICS, nullptr));
    return file && GetFileInformationByHandle(file.get(), &info);
}

std::uint64_t IndexOf(const BY_HANDLE_FILE_INFORMATION& info) {
    return Joined(info.nFileIndexHigh, info.nFileIndexLow);
}

}  // namespace

std::optional<FileId> IdentityOf(const std::wstring& path) {
    BY_HANDLE_FILE_INFORMATION info;
    if (!Ask(path, info)) return std::nullopt;
    return FileId(info.dwVolumeSerialNumber, IndexOf(info));
}

bool SameFile(const std::wstring& a, const std::wstring& b) {
    BY_HANDLE_FILE_INFORMATION first, second;
    if (!Ask(a, first) || !Ask(b, second) || IndexOf(first) != IndexOf(second)) return false;
    // One volume under two drive letters may have two serial numbers.
    return first.dwVolumeSerialNumber == second.dwVolumeSerialNumber ||
           (first.nFileSizeHigh == second.nFileSizeHigh && first.nFileSizeLow == second.nFileSizeLow &&
            CompareFileTime(&first.ftLastWriteTime, &second.ftLastWriteTime) == 0);
}

FileStamp StampOf(const std::wstring& path) {
    WIN32_FILE_ATTRIBUTE_DATA data;
    if (!GetFileAttributesExW(WithLongPrefix(path).c_str(), GetFileExInfoStandard, &data))
        return std::nullopt;
    return std::pair(Joined(data.nFileSizeHigh, data.nFileSizeLow),
                     Joined(data.ftLastWriteTime.dwHighDateTime, data.ftLastWriteTime.dwLowDateTime));
}

}  // namespace morvex
