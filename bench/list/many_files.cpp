#include "bench/list/many_files.h"

#include <windows.h>

#include "win/paths.h"

namespace morvex::bench {
namespace {

constexpr ULONGLONG kHostDeadlineMs = 120'000;

// Wine looks through the whole folder for a name in another letter case before it makes a new file, so there
// the host makes the files: thousands of times quicker. False where there is no such host. Wine does not tell
// when a program of the host ends: the file "made" does.
bool HostMakesFiles(const std::wstring& folder, int count) {
    std::wstring command = L"sh -c \"seq " + std::to_wstring(count) +
                           L" | split -l 1 -a 6 -d --additional-suffix=.stp - part && touch made\"";
    STARTUPINFOW start{};
    start.cb = sizeof(start);
    PROCESS_INFORMATION process{};
    if (!CreateProcessW(L"Z:\\bin\\sh", command.data(), nullptr, nullptr, FALSE, 0, nullptr, folder.c_str(),
                        &start, &process)) {
        return false;
    }
    const std::wstring made = JoinPath(folder, L"made");
    const ULONGLONG begun = GetTickCount64();
    while (!PathExists(made) && GetTickCount64() - begun < kHostDeadlineMs) Sleep(50);
    return DeleteFileW(made.c_str());
}

std::wstring NameOf(int number) {
    const std::wstring digits = std::to_wstring(number);
    return L"part" + std::wstring(6 - digits.size(), L'0') + digits + L".stp";
}

}  // namespace

ManyFiles::ManyFiles(int count) : count_(count) {
    wchar_t temporary[MAX_PATH + 1];
    folder_.assign(temporary, GetTempPathW(MAX_PATH + 1, temporary));
    folder_ += L"morvex-bench-" + std::to_wstring(GetCurrentProcessId()) + L"-" + std::to_wstring(count);
    CreateDirectoryW(folder_.c_str(), nullptr);
    if (HostMakesFiles(folder_, count)) return;
    for (int i = 0; i < count; ++i) {
        const HANDLE file = CreateFileW(JoinPath(folder_, NameOf(i)).c_str(), GENERIC_WRITE, 0, nullptr,
                                        CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
        DWORD written = 0;
        WriteFile(file, "part", 4, &written, nullptr);
        CloseHandle(file);
    }
}

ManyFiles::~ManyFiles() {
    for (int i = 0; i < count_; ++i) DeleteFileW(JoinPath(folder_, NameOf(i)).c_str());
    RemoveDirectoryW(folder_.c_str());
}

}  // namespace morvex::bench
