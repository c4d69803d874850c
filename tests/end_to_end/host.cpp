#include "tests/end_to_end/host.h"

#include <windows.h>

#include <gtest/gtest.h>

#include "tests/end_to_end/window.h"
#include "win/unique_handle.h"

namespace morvex::test {
namespace {

// Starts a program of the host's and goes on: its end cannot be waited for.
void Start(const std::wstring& program, const std::wstring& arguments) {
    std::wstring line = program + L" " + arguments;
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION created{};
    if (!CreateProcessW((L"Z:\\bin\\" + program).c_str(), line.data(), nullptr, nullptr, FALSE, 0, nullptr,
                        nullptr, &startup, &created))
        return;
    CloseHandle(created.hThread);
    CloseHandle(created.hProcess);
}

bool IsWritable(const std::wstring& folder) {
    const std::wstring path = folder + L"\\probe";
    return OwnFile(CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                               FILE_FLAG_DELETE_ON_CLOSE, nullptr)) != nullptr;
}

ULONGLONG SizeOfDisk(const std::wstring& folder) {
    ULARGE_INTEGER size{};
    GetDiskFreeSpaceExW(folder.c_str(), nullptr, &size, nullptr);
    return size.QuadPart;
}

}  // namespace

std::wstring HostPath(const std::wstring& path) {
    using Function = char* (*)(const wchar_t*);
    const auto hostPath = reinterpret_cast<Function>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"kernel32"), "wine_get_unix_file_name")));
    const std::string found = hostPath ? hostPath(path.c_str()) : "";
    return {found.begin(), found.end()};
}

void OnHost(const std::wstring& program, const std::wstring& arguments, const std::function<bool()>& done) {
    Start(program, arguments);
    EXPECT_TRUE(Eventually(done)) << testing::PrintToString(program + L" " + arguments);
}

HostDisk::HostDisk(std::wstring folder, const std::wstring& options) : folder_(std::move(folder)) {
    CreateDirectoryW(folder_.c_str(), nullptr);
    const std::wstring place = HostPath(folder_);
    if (place.empty()) return;
    const ULONGLONG before = SizeOfDisk(folder_);
    Start(L"mount", L"-t tmpfs -o " + options + L" none \"" + place + L"\"");
    for (int tries = 0; tries < 100 && !mounted_; ++tries) {
        Sleep(50);
        mounted_ = SizeOfDisk(folder_) != before;
    }
}

HostDisk::~HostDisk() {
    if (!mounted_) return;
    const ULONGLONG mounted = SizeOfDisk(folder_);
    OnHost(L"umount", L"-l \"" + HostPath(folder_) + L"\"", [&] { return SizeOfDisk(folder_) != mounted; });
}

void HostDisk::MakeReadOnly() const {
    if (!mounted_) return;
    OnHost(L"mount", L"-o remount,ro \"" + HostPath(folder_) + L"\"", [&] { return !IsWritable(folder_); });
}

std::wstring HostDisk::Fill(int left) const {
    const std::wstring path = folder_ + L"\\filler";
    const UniqueHandle file =
        OwnFile(CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr));
    const std::string block(4096, 'x');
    DWORD written = 1;
    while (written > 0 &&
           WriteFile(file.get(), block.data(), static_cast<DWORD>(block.size()), &written, nullptr)) {
    }
    LARGE_INTEGER back{};
    back.QuadPart = -left;
    SetFilePointerEx(file.get(), back, nullptr, FILE_CURRENT);
    SetEndOfFile(file.get());
    return path;
}

}  // namespace morvex::test
