#include "win/profile.h"

#include <windows.h>

#include <algorithm>
#include <cstdint>

#include "win/paths.h"
#include "win/system_lock.h"

namespace morvex::profile {
namespace {

constexpr wchar_t kWritersTurn[] = L"Local\\Morvex-profile";

// The system's functions say nothing of a disk that is full, and leave a cut file: so its room is looked at
// first. A new file of ours takes a few kilobytes.
bool HasRoomFor(const std::wstring& file) {
    constexpr std::uint64_t kFewKilobytes = 32 << 10;
    ULARGE_INTEGER room{};
    return !GetDiskFreeSpaceExW(JoinPath(FolderOf(file), L"").c_str(), &room, nullptr, nullptr) ||
           room.QuadPart >= 2 * FileSizeOf(file).value_or(0) + kFewKilobytes;
}

// A copy of the file, or a new one when there is none, with these entries in it; false, and nothing left,
// when that cannot be made.
bool MakeTemporary(const std::wstring& temporary, const std::wstring& file, std::span<const Entry> entries) {
    DeleteFileW(temporary.c_str());  // a process that died may have left it
    const bool made =
        HasRoomFor(file) && (!PathExists(file) || CopyFileW(file.c_str(), temporary.c_str(), TRUE)) &&
        std::ranges::all_of(entries, [&](const Entry& entry) {
            return WritePrivateProfileStringW(entry.section, entry.key, entry.value, temporary.c_str());
        });
    if (!made) DeleteFileW(temporary.c_str());
    return made;
}

// Gives the finished file its name. Readers that are not this program's may keep the old one open for a
// moment.
bool PutInPlace(const std::wstring& temporary, const std::wstring& file, DWORD flags) {
    constexpr int kTries = 50;
    constexpr DWORD kBetweenTries = 10;  // milliseconds
    for (int tries = 0; tries < kTries; ++tries) {
        if (MoveFileExW(temporary.c_str(), file.c_str(), flags)) return true;
        const DWORD error = GetLastError();
        if (error != ERROR_SHARING_VIOLATION && error != ERROR_ACCESS_DENIED) break;
        Sleep(kBetweenTries);
    }
    DeleteFileW(temporary.c_str());
    return false;
}

}  // namespace

std::wstring ReadText(const std::wstring& file, const wchar_t* section, const wchar_t* key,
                      const std::wstring& fallback, unsigned capacity) {
    std::wstring text(capacity, L'\0');
    text.resize(
        GetPrivateProfileStringW(section, key, fallback.c_str(), text.data(), capacity, file.c_str()));
    return text;
}

int ReadInt(const std::wstring& file, const wchar_t* section, const wchar_t* key, int fallback) {
    return static_cast<int>(GetPrivateProfileIntW(section, key, fallback, file.c_str()));
}

bool WriteText(const std::wstring& file, const wchar_t* section, const wchar_t* key,
               const std::wstring& value) {
    const SystemLock turn(kWritersTurn);
    const DWORD attributes = GetFileAttributesW(file.c_str());
    const bool exists = attributes != INVALID_FILE_ATTRIBUTES;
    if (exists && attributes & (FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_DIRECTORY)) return false;
    const std::wstring temporary = TemporaryBeside(file);
    const Entry entry = {section, key, value.c_str()};
    return MakeTemporary(temporary, file, {&entry, 1}) &&
           PutInPlace(temporary, file, MOVEFILE_REPLACE_EXISTING);
}

bool Create(const std::wstring& file, std::span<const Entry> entries) {
    const SystemLock turn(kWritersTurn);
    if (PathExists(file)) return false;
    const std::wstring temporary = TemporaryBeside(file);
    return MakeTemporary(temporary, file, entries) && PutInPlace(temporary, file, 0);
}

std::vector<std::wstring> SectionNames(const std::wstring& file) {
    std::wstring buffer(4096, L'\0');
    for (;;) {
        const auto size = static_cast<DWORD>(buffer.size());
        const DWORD length = GetPrivateProfileSectionNamesW(buffer.data(), size, file.c_str());
        if (length != size - 2) break;  // that length means the names did not fit
        buffer.assign(buffer.size() * 2, L'\0');
    }
    std::vector<std::wstring> names;
    for (const wchar_t* name = buffer.c_str(); *name; name += names.back().size() + 1)
        names.emplace_back(name);
    return names;
}

}  // namespace morvex::profile
