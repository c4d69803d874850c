#include <windows.h>

#include <string>

#include "engine/common/paths.h"
#include "engine/worker/full_path.h"

namespace morvex {

namespace {

// So that what comes to lie beside a file may have a longer path than it. Only where it must be: the prefix
// is seen in reports.
std::wstring WithLongPrefix(const std::wstring& path) {
    constexpr std::size_t kBeside = sizeof ".morvex-01234567-abcdef\\new\\" + 16;
    if (path.size() + kBeside <= MAX_PATH || path.starts_with(L"\\\\?\\")) return path;
    return path.starts_with(L"\\\\") ? L"\\\\?\\UNC\\" + path.substr(2) : L"\\\\?\\" + path;
}

}  // namespace

// By the system: the library's own function takes the server of a UNC path for a folder.
std::filesystem::path FullPath(std::string_view utf8) {
    const std::filesystem::path path = PathFromUtf8(utf8);
    if (path.empty()) return {};
    std::wstring full(GetFullPathNameW(path.c_str(), 0, nullptr, nullptr), L'\0');
    full.resize(GetFullPathNameW(path.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr));
    return full.empty() ? path : std::filesystem::path(WithLongPrefix(full));
}

}  // namespace morvex
