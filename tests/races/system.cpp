// A system on which every call succeeds quickly: no files, children that end as their input's name says, one
// window.
#include "tests/races/system.h"

#include <windows.h>

#include <algorithm>
#include <chrono>
#include <cstdarg>
#include <cwchar>
#include <cwctype>
#include <map>
#include <thread>

#include "convert/child_process.h"
#include "convert/in_process.h"
#include "convert/row_status.h"
#include "win/environment.h"
#include "win/file_identity.h"
#include "win/text_file.h"

namespace {

std::mutex namesMutex;
std::map<std::wstring, int> names;  // named objects, with their owners
thread_local DWORD lastError = 0;

}  // namespace

BOOL CloseHandle(HANDLE handle) {
    const auto* const name = static_cast<std::wstring*>(handle);
    const std::lock_guard lock(namesMutex);
    if (--names[*name] == 0) names.erase(*name);
    delete name;
    return TRUE;
}
HANDLE CreateEventW(SECURITY_ATTRIBUTES*, BOOL, BOOL, const wchar_t* name) {
    const std::lock_guard lock(namesMutex);
    lastError = names[name]++ > 0 ? ERROR_ALREADY_EXISTS : 0;
    return new std::wstring(name);
}
DWORD GetLastError() {
    return lastError;
}
int LCMapStringEx(const wchar_t*, DWORD, const wchar_t* from, int length, wchar_t* to, int, void*, void*,
                  LPARAM) {
    std::transform(from, from + length, to, [](wchar_t unit) {
        return static_cast<wchar_t>(std::towupper(static_cast<wint_t>(unit)));
    });
    return length;
}
int FoldStringW(DWORD, const wchar_t*, int, wchar_t*, int) {
    return 0;
}
DWORD GetFullPathNameW(const wchar_t* path, DWORD room, wchar_t* full, wchar_t**) {
    const size_t length = std::wcslen(path);
    if (room <= length) return static_cast<DWORD>(length + 1);
    std::wcscpy(full, path);
    return static_cast<DWORD>(length);
}
int CompareStringOrdinal(const wchar_t* a, int aSize, const wchar_t* b, int bSize, BOOL) {
    return aSize == bSize && std::equal(a, a + aSize, b) ? CSTR_EQUAL : 0;
}
DWORD GetFileAttributesW(const wchar_t*) {
    return INVALID_FILE_ATTRIBUTES;
}
BOOL GetFileAttributesExW(const wchar_t*, int, void*) {
    return FALSE;
}
DWORD GetModuleFileNameW(HMODULE, wchar_t*, DWORD) {
    return 0;
}
BOOL SetEnvironmentVariableW(const wchar_t*, const wchar_t*) {
    return TRUE;
}
BOOL DeleteFileW(const wchar_t*) {
    return FALSE;
}
BOOL PostMessageW(HWND window, UINT, WPARAM, LPARAM) {
    return static_cast<morvex::test::MessageQueue*>(window)->Post();
}
BOOL IsWindow(HWND) {
    return TRUE;
}
// As if each thread were still at its end.
HANDLE pthread_gethandle(unsigned long) {
    return nullptr;
}
DWORD WaitForSingleObject(HANDLE, DWORD) {
    return WAIT_TIMEOUT;
}
void Sleep(DWORD milliseconds) {
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

namespace morvex {

std::wstring TextCatalogue::operator()(int id) const {
    return std::to_wstring(id);
}
std::wstring EnvironmentText(const wchar_t*) {
    return {};
}
std::wstring Format(const wchar_t* pattern, ...) {
    std::wstring text(200, L'\0');
    va_list arguments;
    va_start(arguments, pattern);
    text.resize(
        static_cast<size_t>(std::max(0, std::vswprintf(text.data(), text.size(), pattern, arguments))));
    va_end(arguments);
    return text;
}
bool ReadTextFile(const std::wstring&, std::wstring&) {
    return false;
}
bool WriteTextFile(const std::wstring&, std::wstring_view) {
    return true;
}
bool AppendTextFile(const std::wstring&, std::wstring_view) {
    return true;
}
std::optional<FileId> IdentityOf(const std::wstring&) {
    return std::nullopt;
}
bool SameFile(const std::wstring&, const std::wstring&) {
    return false;
}
bool IsBeingWritten(const std::wstring&) {
    return false;
}
FileStamp StampOf(const std::wstring&) {
    return std::nullopt;
}

ChildRunner::ChildRunner(const ConversionRequest& request, int workers)
    : request_(request), atOnce_(static_cast<unsigned>(workers)), mostMemory_(0) {}

ChildEnd ChildRunner::Run(const ChildArguments& arguments, const Follower& follower) const {
    using Kind = ChildEnd::Kind;
    follower.progress(50);
    std::this_thread::yield();
    if (follower.stop() && !follower.outputIsThere()) return {Kind::Stopped, kResultFailed, {}};
    const auto named = [&](const wchar_t* word) { return arguments.input.find(word) != std::wstring::npos; };
    if (named(L"died")) return {Kind::Died, kResultFailed, {}};
    if (named(L"late")) return {Kind::TimedOut, kResultFailed, {}};
    if (named(L"not started")) return {Kind::NotStarted, kResultOk, {}};
    if (named(L"abandoned")) return {Kind::Abandoned, kResultFailed, L"no library"};
    return {Kind::Finished, kResultOk, {}};
}

InProcessResult ConvertInProcess(const ConversionRequest&, const std::wstring&, const std::wstring&, int,
                                 const std::function<void(int percent)>& progress) {
    // As the program does it: the library works on a thread of its own.
    std::jthread([&] {
        for (int percent = 0; percent <= 100; percent += 20) progress(percent);
    }).join();
    return {InProcessResult::Library::Usable, kResultOk, false};
}

}  // namespace morvex
