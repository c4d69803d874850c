#include <windows.h>

#include <random>
#include <string>

#include "engine/worker/handle_windows.h"
#include "engine/worker/machine.h"
#include "engine/worker/temporary_folder.h"

namespace morvex {
namespace fs = std::filesystem;
namespace {

constexpr std::size_t kRandomLetters = 6;

std::error_code LastError() {
    return {static_cast<int>(GetLastError()), std::system_category()};
}

// What the names of this user's folders on this machine begin with.
std::wstring Start() {
    const std::string whose = ShortUserAndMachine();
    return L".morvex-" + std::wstring(whose.begin(), whose.end()) + L"-";
}

std::wstring RandomName() {
    static constexpr wchar_t kLetters[] = L"abcdefghijklmnopqrstuvwxyz0123456789";
    std::random_device random;
    std::wstring name = Start();
    for (std::size_t letter = 0; letter < kRandomLetters; ++letter)
        name += kLetters[random() % (std::size(kLetters) - 1)];
    return name;
}

// Calls take(name, attributes) for all that a folder has of such names. By the system: the library's own
// directory iterator ends at 260 characters, and looks at every name where the system knows where they are.
template <class Take>
void ForEachEntry(const fs::path& folder, const std::wstring& pattern, Take take) {
    WIN32_FIND_DATAW found;
    const HANDLE search = FindFirstFileW((folder / pattern).c_str(), &found);
    if (search == INVALID_HANDLE_VALUE) return;
    do {
        const std::wstring name = found.cFileName;
        if (name != L"." && name != L"..") take(name, found.dwFileAttributes);
    } while (FindNextFileW(search, &found));
    FindClose(search);
}

// A real folder, not a link to one elsewhere.
bool IsFolder(DWORD attributes) {
    return (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0 && (attributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0;
}

void AddFiles(const fs::path& folder, const fs::path& from, std::vector<fs::path>& files) {
    ForEachEntry(folder / from, L"*", [&](const std::wstring& name, DWORD attributes) {
        if (IsFolder(attributes)) AddFiles(folder, from / name, files);
        if ((attributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT)) == 0)
            files.push_back(from / name);
    });
}

void RemoveTree(const fs::path& folder) {
    ForEachEntry(folder, L"*", [&](const std::wstring& name, DWORD attributes) {
        const fs::path entry = folder / name;
        if (IsFolder(attributes)) {
            RemoveTree(entry);
        } else if ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
            RemoveDirectoryW(entry.c_str());
        } else {
            DeleteFileW(entry.c_str());
        }
    });
    RemoveDirectoryW(folder.c_str());
}

// A file in the folder that one process at a time can hold; it goes with the process.
OwnedHandle Lock(const fs::path& folder, DWORD disposition) {
    return Own(CreateFileW((folder / L"lock").c_str(), GENERIC_READ | DELETE, 0, nullptr, disposition,
                           FILE_FLAG_DELETE_ON_CLOSE, nullptr));
}

void RemoveAbandoned(const fs::path& parent, TemporaryFolder::Recover* recover) {
    std::vector<fs::path> abandoned;
    ForEachEntry(parent, Start() + std::wstring(kRandomLetters, L'?'),
                 [&](const std::wstring& name, DWORD attributes) {
                     if (IsFolder(attributes)) abandoned.push_back(parent / name);
                 });
    for (const fs::path& folder : abandoned) {
        OwnedHandle lock = Lock(folder, OPEN_ALWAYS);
        if (lock == nullptr || !recover(folder, parent)) continue;
        RemoveTree(folder);
        lock.reset();
        RemoveDirectoryW(folder.c_str());
    }
}

}  // namespace

std::error_code TemporaryFolder::Make(const fs::path& parent, Recover* recover) {
    if (recover != nullptr) RemoveAbandoned(parent, recover);
    constexpr int kTries = 10;
    std::error_code error;
    for (int tries = 0; tries < kTries; ++tries) {
        const fs::path folder = parent / RandomName();
        if (!CreateDirectoryW(folder.c_str(), nullptr)) {
            error = LastError();
            if (error.value() != ERROR_ALREADY_EXISTS) return error;
            continue;
        }
        OwnedHandle lock = Lock(folder, CREATE_NEW);
        if (lock == nullptr) {
            error = LastError();
            // One who looks for abandoned folders may have been quicker: then this one is theirs to remove.
            RemoveDirectoryW(folder.c_str());
            continue;
        }
        lock_ = reinterpret_cast<std::intptr_t>(lock.release());
        path_ = folder;
        return {};
    }
    return error;
}

void TemporaryFolder::Remove() {
    if (path_.empty()) return;
    const fs::path folder = path_;
    RemoveTree(folder);
    Abandon();
    RemoveDirectoryW(folder.c_str());
}

void TemporaryFolder::Abandon() {
    if (!path_.empty()) CloseHandle(reinterpret_cast<HANDLE>(lock_));
    lock_ = -1;
    path_.clear();
}

std::vector<fs::path> FilesBelow(const fs::path& folder) {
    std::vector<fs::path> files;
    AddFiles(folder, {}, files);
    return files;
}

// A folder has nothing to flush that a program without special rights may flush.
std::error_code FlushToDisk(const fs::path& path) {
    const DWORD attributes = GetFileAttributesW(path.c_str());
    if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) return {};
    const DWORD share = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    const OwnedHandle file =
        Own(CreateFileW(path.c_str(), GENERIC_WRITE, share, nullptr, OPEN_EXISTING, 0, nullptr));
    if (file == nullptr) return LastError();
    return FlushFileBuffers(file.get()) ? std::error_code() : LastError();
}

}  // namespace morvex
