#include <windows.h>

#include <string>

#include "engine/common/paths.h"
#include "engine/worker/full_path.h"

namespace morvex {

// By the system: the library's own function takes the server of a UNC path for a folder.
std::filesystem::path FullPath(std::string_view utf8) {
    const std::filesystem::path path = PathFromUtf8(utf8);
    if (path.empty()) return {};
    std::wstring full(GetFullPathNameW(path.c_str(), 0, nullptr, nullptr), L'\0');
    full.resize(GetFullPathNameW(path.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr));
    return full.empty() ? path : std::filesystem::path(full);
}

}  // namespace morvex
