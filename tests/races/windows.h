#pragma once

// As much of the system as the sources under test name; system.cpp does it.

#include <cstdint>

using BOOL = int;
using UINT = unsigned;
using DWORD = unsigned;
using WPARAM = std::uintptr_t;
using LPARAM = std::intptr_t;
using HANDLE = void*;
struct Module;
using HMODULE = Module*;
using HWND = void*;
using HBRUSH = void*;
using HFONT = void*;
using HMENU = void*;
using HLOCAL = void*;
struct SECURITY_ATTRIBUTES;
struct FILETIME {
    DWORD dwLowDateTime, dwHighDateTime;
};
struct WIN32_FILE_ATTRIBUTE_DATA {
    DWORD dwFileAttributes;
    FILETIME ftLastWriteTime;
    DWORD nFileSizeHigh, nFileSizeLow;
};

constexpr int TRUE = 1, FALSE = 0;
constexpr int CSTR_EQUAL = 2;
constexpr DWORD INVALID_FILE_ATTRIBUTES = ~0u;
constexpr DWORD FILE_ATTRIBUTE_DIRECTORY = 16;
constexpr DWORD MAX_PATH = 260;
constexpr DWORD ERROR_ALREADY_EXISTS = 183;
constexpr DWORD WAIT_OBJECT_0 = 0, WAIT_TIMEOUT = 258;
constexpr DWORD MAP_PRECOMPOSED = 32;
constexpr DWORD LCMAP_UPPERCASE = 512;
constexpr const wchar_t* LOCALE_NAME_INVARIANT = L"";
constexpr int GetFileExInfoStandard = 0;
inline const HANDLE INVALID_HANDLE_VALUE = reinterpret_cast<HANDLE>(-1);  // NOLINT(performance-no-int-to-ptr)

BOOL CloseHandle(HANDLE);
BOOL FreeLibrary(HMODULE);
BOOL DeleteObject(void*);
BOOL DestroyMenu(HMENU);
BOOL FindClose(HANDLE);
HLOCAL LocalFree(HLOCAL);
HANDLE CreateEventW(SECURITY_ATTRIBUTES*, BOOL, BOOL, const wchar_t* name);
DWORD GetLastError();
int LCMapStringEx(const wchar_t*, DWORD, const wchar_t* from, int length, wchar_t* to, int, void*, void*,
                  LPARAM);
int FoldStringW(DWORD, const wchar_t* from, int length, wchar_t* to, int room);
DWORD GetFullPathNameW(const wchar_t* path, DWORD room, wchar_t* full, wchar_t**);
int CompareStringOrdinal(const wchar_t*, int, const wchar_t*, int, BOOL);
DWORD GetFileAttributesW(const wchar_t*);
BOOL GetFileAttributesExW(const wchar_t*, int, void*);
DWORD GetModuleFileNameW(HMODULE, wchar_t*, DWORD);
BOOL SetEnvironmentVariableW(const wchar_t*, const wchar_t*);
BOOL DeleteFileW(const wchar_t*);
BOOL PostMessageW(HWND, UINT message, WPARAM, LPARAM);
BOOL IsWindow(HWND);
HANDLE pthread_gethandle(unsigned long thread);
DWORD WaitForSingleObject(HANDLE, DWORD milliseconds);
void Sleep(DWORD milliseconds);
