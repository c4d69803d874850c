#include <windows.h>

#include "engine/common/paths.h"

namespace morvex {
namespace {

// The usual form of a path that names its drive or server after "\\?\"; any other as it is.
std::wstring WithoutPrefix(const std::wstring& path) {
    constexpr std::wstring_view kServer = L"\\\\?\\UNC\\", kPrefix = L"\\\\?\\";
    if (path.starts_with(kServer)) return L"\\\\" + path.substr(kServer.size());
    const bool drive =
        path.starts_with(kPrefix) && path.size() > kPrefix.size() + 1 && path[kPrefix.size() + 1] == L':';
    return drive ? path.substr(kPrefix.size()) : path;
}

}  // namespace

std::filesystem::path ResolvedPath(const std::filesystem::path& path, std::error_code& error) {
    constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    const HANDLE file = CreateFileW(path.c_str(), FILE_READ_ATTRIBUTES, kShareAll, nullptr, OPEN_EXISTING,
                                    FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    std::wstring resolved(32768, L'\0');
    DWORD size = 0;
    if (file != INVALID_HANDLE_VALUE)
        size = GetFinalPathNameByHandleW(file, resolved.data(), static_cast<DWORD>(resolved.size()), 0);
    error = size != 0 ? std::error_code()
                      : std::error_code(static_cast<int>(GetLastError()), std::system_category());
    if (file != INVALID_HANDLE_VALUE) CloseHandle(file);
    resolved.resize(size);
    return WithoutPrefix(resolved);
}

}  // namespace morvex
