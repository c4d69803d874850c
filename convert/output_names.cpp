#include "convert/output_names.h"

#include <windows.h>

#include <optional>
#include <utility>

#include "win/file_identity.h"
#include "win/paths.h"
#include "win/text_hash.h"

namespace morvex {
namespace {

// Upper case and composed letters: file systems fold the one, some of them the other too.
std::wstring Folded(std::wstring_view text) {
    const int length = static_cast<int>(text.size());
    std::wstring composed(text.size(), L'\0');
    const int room = FoldStringW(MAP_PRECOMPOSED, text.data(), length, composed.data(), length);
    if (room > 0)
        composed.resize(static_cast<size_t>(room));
    else
        composed = text;
    std::wstring key(composed.size(), L'\0');
    const int size = static_cast<int>(composed.size());
    LCMapStringEx(LOCALE_NAME_INVARIANT, LCMAP_UPPERCASE, composed.data(), size, key.data(), size, nullptr,
                  nullptr, 0);
    return key;
}

// A folder that does not exist is known by its text alone.
std::wstring FullText(const std::wstring& folder) {
    const std::wstring path = JoinPath(WithoutLongPrefix(folder), L"");
    std::wstring full(GetFullPathNameW(path.c_str(), 0, nullptr, nullptr), L'\0');
    full.resize(GetFullPathNameW(path.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr));
    return Folded(full);
}

}  // namespace

OutputNames::Key OutputNames::KeyOf(const std::wstring& folder, std::wstring_view fileName) {
    const std::wstring name = Folded(fileName);
    const std::lock_guard lock(mutex_);
    return HashOf(name, HashOf(FolderKey(folder)));
}

OutputNames::Key OutputNames::KeyOf(const std::wstring& path) {
    const std::wstring plain = WithoutLongPrefix(path);
    return KeyOf(std::wstring(FolderOf(plain)), FileNameOf(plain));
}

bool OutputNames::Keep(Key key) {
    const std::lock_guard lock(mutex_);
    return taken_.insert(key).second;
}

bool OutputNames::Holds(Key key) {
    const std::lock_guard lock(mutex_);
    return taken_.contains(key);
}

int OutputNames::Take(const OutputName& name) {
    return Keep(KeyOf(name.Path())) ? 1 : TakeNext(name);
}

int OutputNames::TakeNext(const OutputName& name) {
    const Key plain = KeyOf(name.Path());
    int number = 1;
    {
        const std::lock_guard lock(mutex_);
        if (const auto last = lastNumber_.find(plain); last != lastNumber_.end()) number = last->second;
    }
    do {
        ++number;
    } while (!Keep(KeyOf(name.Path(number))));
    const std::lock_guard lock(mutex_);
    return lastNumber_[plain] = number;
}

bool OutputNames::Claim(const std::wstring& path) {
    // Kernel objects are named by at most 260 characters.
    const std::wstring object = L"Local\\Morvex-output-" + std::to_wstring(KeyOf(path));
    UniqueHandle claim(CreateEventW(nullptr, TRUE, FALSE, object.c_str()));
    if (claim && GetLastError() == ERROR_ALREADY_EXISTS) return false;
    const std::lock_guard lock(mutex_);
    claims_.push_back(std::move(claim));
    return true;
}

const std::wstring& OutputNames::FolderKey(const std::wstring& folder) {
    std::wstring& key = folderKeys_[folder];
    if (!key.empty()) return key;
    // The backslash makes "C:" the drive's root and not the current folder on it.
    const std::optional<FileId> identity = IdentityOf(JoinPath(folder, L""));
    // Without the volume, which may be known under two drive letters with two serial numbers. Where two
    // folders pass for one, an output gets a number that it does not need; nobody tells inputs by their keys.
    return key = identity ? std::to_wstring(identity->number) + L"\\" : FullText(folder);
}

}  // namespace morvex
