#include "batch/same_input.h"

#include <windows.h>

#include <string_view>

#include "win/file_identity.h"
#include "win/paths.h"
#include "win/unique_handle.h"

namespace morvex {
namespace {

// The path that the system itself gives the file: links followed, every name as the file system has it. Empty
// when there is no such file.
std::wstring FinalPath(const std::wstring& path) {
    const UniqueHandle file =
        OwnFile(CreateFileW(WithLongPrefix(path).c_str(), FILE_READ_ATTRIBUTES,
                            FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                            FILE_FLAG_BACKUP_SEMANTICS, nullptr));
    if (!file) return {};
    std::wstring final(GetFinalPathNameByHandleW(file.get(), nullptr, 0, 0), L'\0');
    final.resize(GetFinalPathNameByHandleW(file.get(), final.data(), static_cast<DWORD>(final.size()), 0));
    return final;
}

// "\\?\C:", or "\\?\UNC" for every share.
std::wstring_view RootOf(std::wstring_view finalPath) {
    constexpr size_t kPrefix = 4;
    return finalPath.substr(0, finalPath.find(L'\\', kPrefix));
}

}  // namespace

bool SameInput(const std::wstring& a, const std::wstring& b) {
    if (a == b) return true;
    const std::wstring first = FinalPath(a), second = FinalPath(b);
    if (first.empty() || second.empty()) return SameText(a, b);
    if (first == second) return true;
    // A drive and a share may lead to one file. Under Wine one drive holds many volumes, whose files have
    // equal numbers.
    return RootOf(first) != RootOf(second) && SameFile(a, b);
}

}  // namespace morvex
