#pragma once

#include <windows.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <string>

#include "win/paths.h"

namespace morvex::test {

// A fresh folder below the system's temporary folder, removed with everything in it when the object goes.
class TempFolder {
  public:
    TempFolder() {
        static std::atomic<int> count = 0;
        path_ = std::filesystem::temp_directory_path().wstring();
        path_ += L"morvex-test-" + std::to_wstring(GetCurrentProcessId()) + L"-" + std::to_wstring(++count);
        RemoveTree(path_);  // a program that crashed may have left one of that name
        std::filesystem::create_directories(path_);
    }
    ~TempFolder() { RemoveTree(path_); }
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    const std::wstring& Path() const { return path_; }
    std::wstring operator/(const std::wstring& name) const { return path_ + L"\\" + name; }

  private:
    // std::filesystem removes nothing whose path is long.
    static void RemoveTree(const std::wstring& folder) {
        WIN32_FIND_DATAW entry;
        const HANDLE find = FindFirstFileW(WithLongPrefix(folder + L"\\*").c_str(), &entry);
        for (BOOL more = find != INVALID_HANDLE_VALUE; more; more = FindNextFileW(find, &entry)) {
            const std::wstring name = entry.cFileName;
            if (name == L"." || name == L"..") continue;
            const std::wstring inner = JoinPath(folder, name);
            const std::wstring path = WithLongPrefix(inner);
            SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
            if (!(entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)) {
                DeleteFileW(path.c_str());
            } else if (entry.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) {
                RemoveDirectoryW(path.c_str());
            } else {
                RemoveTree(inner);
            }
        }
        if (find != INVALID_HANDLE_VALUE) FindClose(find);
        RemoveDirectoryW(WithLongPrefix(folder).c_str());
    }

    std::wstring path_;
};

inline void WriteFileBytes(const std::wstring& path, const std::string& bytes) {
    const std::wstring target = WithLongPrefix(path);
    const HANDLE file = CreateFileW(target.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    DWORD written = 0;
    WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
    CloseHandle(file);
}

inline std::string ReadFileBytes(const std::wstring& path) {
    std::ifstream file(std::filesystem::path(WithLongPrefix(path)), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// Bytes of a UTF-16LE text with its mark, as the program writes its text files.
inline std::string Utf16Bytes(const std::wstring& text) {
    std::string bytes = "\xFF\xFE";
    bytes.append(reinterpret_cast<const char*>(text.data()), text.size() * 2);
    return bytes;
}

}  // namespace morvex::test
