#include "win/paths.h"

#include <windows.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>

#include "win/text_hash.h"

namespace morvex {
namespace {

constexpr size_t kLongestPlainPath = 259;
constexpr std::wstring_view kLongPrefix = L"\\\\?\\", kNetwork = L"\\\\";

DWORD Attributes(const std::wstring& path) {
    return GetFileAttributesW(WithLongPrefix(path).c_str());
}

std::wstring CurrentFolder(const std::wstring& drive) {
    const std::wstring start = drive.empty() ? L"." : drive;
    std::wstring folder(GetFullPathNameW(start.c_str(), 0, nullptr, nullptr), L'\0');
    folder.resize(GetFullPathNameW(start.c_str(), static_cast<DWORD>(folder.size()), folder.data(), nullptr));
    return folder;
}

// The path from its drive or share on.
std::wstring Rooted(std::wstring path) {
    // Odd names must reach whoever opens them as they are.
    if (path.starts_with(kLongPrefix)) return path;
    std::ranges::replace(path, L'/', L'\\');
    if (path.starts_with(kNetwork)) return path;
    const bool onDrive = path.size() > 1 && path[1] == L':';
    if (onDrive && path.size() > 2 && path[2] == L'\\') return path;
    // "D:part.stp" lies in that drive's own current folder, "\\part.stp" on the current drive.
    const std::wstring here = CurrentFolder(onDrive ? path.substr(0, 2) : L"");
    if (path.starts_with(L'\\')) return here.starts_with(L'\\') ? path : here.substr(0, 2) + path;
    return JoinPath(here, onDrive ? path.substr(2) : path);
}

// Where the names begin: behind "C:\" or "\\server\share\".
size_t RootLength(std::wstring_view path) {
    if (!path.starts_with(kNetwork)) return path.find(L'\\') + 1;
    const size_t server = path.find(L'\\', kNetwork.size());
    const size_t share = server == path.npos ? server : path.find(L'\\', server + 1);
    return share == path.npos ? path.size() : share + 1;
}

std::wstring Prefixed(const std::wstring& path) {
    if (!path.starts_with(kNetwork)) return std::wstring(kLongPrefix) + path;
    return std::wstring(kLongPrefix) + L"UNC\\" + path.substr(kNetwork.size());
}

// The system takes a dot or blanks off the end of a name, as whoever types it expects. But on Linux they may
// be part of it: then just such a file or folder is there.
bool NameEndsInDot(const std::wstring& path) {
    const bool full = path.starts_with(kNetwork) || (path.size() > 2 && path[1] == L':' && path[2] == L'\\');
    if (!full || path.starts_with(L"\\\\.\\")) return false;
    size_t last = 0;  // where the last such name ends
    for (size_t begin = 0, end; begin < path.size(); begin = end + 1) {
        end = std::min(path.find(L'\\', begin), path.size());
        const std::wstring_view name = std::wstring_view(path).substr(begin, end - begin);
        if (name == L"." || name == L"..") return false;
        if (name.ends_with(L'.') || name.ends_with(L' ')) last = end;
    }
    return last != 0 && GetFileAttributesW(Prefixed(path.substr(0, last)).c_str()) != INVALID_FILE_ATTRIBUTES;
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

std::wstring FullPath(const std::wstring& typed) {
    std::wstring full = Rooted(typed);
    if (full.starts_with(kLongPrefix)) return full;
    std::wstring_view rest = full;
    const size_t root = RootLength(rest);
    std::wstring path(rest.substr(0, root));
    for (rest.remove_prefix(root); !rest.empty();) {
        const std::wstring_view name = rest.substr(0, rest.find(L'\\'));
        rest.remove_prefix(std::min(name.size() + 1, rest.size()));
        if (name == L"..")
            path.resize(std::max(root, path.find_last_of(L'\\', path.size() - 2) + 1));
        else if (!name.empty() && name != L".")
            path += std::wstring(name) + L"\\";
    }
    if (path.size() > root) path.pop_back();
    return path;
}

bool SameText(std::wstring_view a, std::wstring_view b) {
    return CompareStringOrdinal(a.data(), static_cast<int>(a.size()), b.data(), static_cast<int>(b.size()),
                                TRUE) == CSTR_EQUAL;
}

std::wstring WithLongPrefix(std::wstring path) {
    if (path.starts_with(kLongPrefix)) return path;
    std::ranges::replace(path, L'/', L'\\');  // behind the prefix a slash would be part of a name
    const bool plain = path.size() <= kLongestPlainPath && !NameEndsInDot(path);
    return plain || path.starts_with(kLongPrefix) ? path : Prefixed(path);
}

std::wstring TemporaryBeside(const std::wstring& path) {
    const auto hash =
        static_cast<std::uint32_t>(HashOf(FileNameOf(path), HashOf(std::to_wstring(GetCurrentProcessId()))));
    wchar_t name[16];
    swprintf_s(name, L"~%08x.tmp", hash);
    const std::wstring_view folder = FolderOf(path);
    return folder.empty() ? name : JoinPath(folder, name);
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
