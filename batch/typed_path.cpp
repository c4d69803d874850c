#include "batch/typed_path.h"

#include <algorithm>
#include <string_view>

#include "win/paths.h"

namespace morvex {
namespace {

constexpr std::wstring_view kNetwork = L"\\\\";

// Where the names begin: behind "C:\" or "\\server\share\".
size_t RootLength(std::wstring_view path) {
    if (!path.starts_with(kNetwork)) return path.find(L'\\') + 1;
    const size_t server = path.find(L'\\', kNetwork.size());
    const size_t share = server == path.npos ? server : path.find(L'\\', server + 1);
    return share == path.npos ? path.size() : share + 1;
}

// "\parts" lies on the current drive.
std::wstring OnDrive(std::wstring path) {
    if (!path.starts_with(L'\\') || path.starts_with(kNetwork)) return path;
    const std::wstring here = FullPath(L"");
    return here.starts_with(L'\\') ? path : here.substr(0, here.find(L'\\')) + path;
}

}  // namespace

std::wstring TypedPath(const std::wstring& typed) {
    std::wstring full = OnDrive(FullPath(typed));
    if (full.starts_with(L"\\\\?\\")) return full;
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

}  // namespace morvex
