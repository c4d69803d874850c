#include "win/paths.h"

#include <windows.h>

#include <algorithm>

namespace morvex {
namespace {

constexpr size_t kLongestPlainPath = 259;

DWORD Attributes(const std::wstring& path) {
    return GetFileAttributesW(WithLongPrefix(path).c_str());
}

}  // namespace

std::wstring JoinPath(std::wstring_view folder, std::wstring_view name) {
    std::wstring path(folder);
    if (path.empty() || path.back() != L'\\') path += L'\\';
    path += name;
    return path;
}

std::wstring_view FileNameOf(std::wstring_view path) {
    const size_t slash = path.rfind(L'\\');
    return slash == path.npos ? path : path.substr(slash + 1);
}

std::wstring_view FolderOf(std::wstring_view path) {
    const size_t slash = path.rfind(L'\\');
    if (slash == path.npos) return {};
    const bool ofRoot = slash > 0 && path[slash - 1] == L':';
    if (ofRoot && slash + 1 == path.size()) return {};
    return path.substr(0, slash + ofRoot);
}

size_t ExtensionStart(std::wstring_view path) {
    const size_t slash = path.rfind(L'\\');
    const size_t dot = path.rfind(L'.');
    return dot != path.npos && slash != path.npos && dot < slash ? path.npos : dot;
}

std::wstring_view ExtensionOf(std::wstring_view path) {
    const size_t dot = ExtensionStart(path);
    return dot == path.npos ? std::wstring_view{} : path.substr(dot + 1);
}

std::wstring FullPath(std::wstring path) {
    // Odd names must reach whoever opens them as they are.
    if (!path.starts_with(L"\\\\?\\")) std::replace(path.begin(), path.end(), L'/', L'\\');
    const bool onDrive = path.size() > 1 && path[1] == L':';
    if (path.starts_with(L'\\') || (onDrive && path.size() > 2 && path[2] == L'\\')) return path;
    // "D:part.stp" lies in that drive's own current folder.
    const std::wstring start = onDrive ? path.substr(0, 2) : L".";
    std::wstring folder(GetFullPathNameW(start.c_str(), 0, nullptr, nullptr), L'\0');
    folder.resize(GetFullPathNameW(start.c_str(), static_cast<DWORD>(folder.size()), folder.data(), nullptr));
    return JoinPath(folder, onDrive ? path.substr(2) : path);
}

bool SameText(std::wstring_view a, std::wstring_view b) {
    return CompareStringOrdinal(a.data(), static_cast<int>(a.size()), b.data(), static_cast<int>(b.size()),
                                TRUE) == CSTR_EQUAL;
}

std::wstring WithLongPrefix(std::wstring path) {
    if (path.size() <= kLongestPlainPath || path.starts_with(L"\\\\?\\")) return path;
    std::replace(path.begin(), path.end(), L'/', L'\\');  // behind the prefix a slash would be part of a name
    if (path.starts_with(L"\\\\")) return L"\\\\?\\UNC\\" + path.substr(2);
    return L"\\\\?\\" + path;
}

bool PathExists(const std::wstring& path) {
    return Attributes(path) != INVALID_FILE_ATTRIBUTES;
}

bool FolderExists(const std::wstring& path) {
    const DWORD attributes = Attributes(path);
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY);
}

std::optional<std::uint64_t> FileSizeOf(const std::wstring& path) {
    WIN32_FILE_ATTRIBUTE_DATA data;
    if (!GetFileAttributesExW(WithLongPrefix(path).c_str(), GetFileExInfoStandard, &data))
        return std::nullopt;
    return std::uint64_t{data.nFileSizeHigh} << 32 | data.nFileSizeLow;
}

std::wstring ModulePath() {
    std::wstring path(MAX_PATH, L'\0');
    for (;;) {
        const DWORD length = GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
        if (length < path.size()) {
            path.resize(length);
            return path;
        }
        path.resize(path.size() * 2);
    }
}

}  // namespace morvex
