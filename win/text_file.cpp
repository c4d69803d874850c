#include "win/text_file.h"

#include <windows.h>

#include <algorithm>

#include "win/paths.h"
#include "win/unique_handle.h"

namespace morvex {
namespace {

constexpr LONGLONG kLargestFile = 256 << 20;  // bytes; no list is that long
constexpr std::string_view kUtf16Mark = "\xFF\xFE";
constexpr std::string_view kUtf16BigMark = "\xFE\xFF";
constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";

bool ReadBytes(const std::wstring& path, std::string& bytes) {
    const UniqueHandle file = OwnFile(CreateFileW(
        WithLongPrefix(path).c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
        nullptr, OPEN_EXISTING, FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
    LARGE_INTEGER size;
    if (!file || !GetFileSizeEx(file.get(), &size) || size.QuadPart > kLargestFile) return false;
    bytes.resize(static_cast<size_t>(size.QuadPart));
    size_t done = 0;
    while (done < bytes.size()) {
        const auto piece = static_cast<DWORD>(std::min<size_t>(bytes.size() - done, 1 << 24));
        DWORD read = 0;
        if (!ReadFile(file.get(), bytes.data() + done, piece, &read, nullptr)) return false;
        if (read == 0) break;  // the file was cut while it was read
        done += read;
    }
    bytes.resize(done);
    return true;
}

bool WriteAll(HANDLE file, std::string_view bytes) {
    while (!bytes.empty()) {
        const auto piece = static_cast<DWORD>(std::min<size_t>(bytes.size(), 1 << 24));
        DWORD written = 0;
        if (!WriteFile(file, bytes.data(), piece, &written, nullptr) || written == 0) return false;
        bytes.remove_prefix(written);
    }
    return true;
}

std::wstring FromUtf16(std::string_view bytes, bool bigEndian) {
    std::wstring text(bytes.size() / 2, L'\0');
    for (size_t i = 0; i < text.size(); ++i) {
        const auto first = static_cast<unsigned char>(bytes[2 * i]);
        const auto second = static_cast<unsigned char>(bytes[2 * i + 1]);
        text[i] = static_cast<wchar_t>(bigEndian ? first << 8 | second : second << 8 | first);
    }
    return text;
}

bool FromCodePage(UINT codePage, DWORD flags, std::string_view bytes, std::wstring& text) {
    text.clear();
    if (bytes.empty()) return true;
    const int size = static_cast<int>(bytes.size());
    const int length = MultiByteToWideChar(codePage, flags, bytes.data(), size, nullptr, 0);
    if (length <= 0) return false;
    text.resize(static_cast<size_t>(length));
    return MultiByteToWideChar(codePage, flags, bytes.data(), size, text.data(), length) == length;
}

// UTF-16 without a mark: text starts with a Latin character, so one byte of the first unit is zero.
bool LooksUtf16(std::string_view bytes, size_t zeroByte) {
    return bytes.size() >= 2 && bytes.size() % 2 == 0 && bytes[zeroByte] == 0 && bytes[1 - zeroByte] != 0;
}

std::wstring Decode(std::string_view bytes) {
    if (bytes.starts_with(kUtf16Mark)) return FromUtf16(bytes.substr(2), false);
    if (bytes.starts_with(kUtf16BigMark)) return FromUtf16(bytes.substr(2), true);
    if (LooksUtf16(bytes, 1)) return FromUtf16(bytes, false);
    if (LooksUtf16(bytes, 0)) return FromUtf16(bytes, true);
    if (bytes.starts_with(kUtf8Mark)) bytes.remove_prefix(kUtf8Mark.size());
    std::wstring text;
    if (!FromCodePage(CP_UTF8, MB_ERR_INVALID_CHARS, bytes, text)) FromCodePage(CP_ACP, 0, bytes, text);
    return text;
}

std::string Encode(std::wstring_view text) {
    std::string bytes;
    bytes.reserve(text.size() * 2);
    const auto put = [&bytes](wchar_t unit) {
        bytes += static_cast<char>(unit & 0xFF);
        bytes += static_cast<char>(unit >> 8);
    };
    for (const wchar_t unit : text) {
        if (unit == L'\n') put(L'\r');
        put(unit);
    }
    return bytes;
}

// Written beside the target and then renamed.
bool WriteWhole(const std::wstring& path, std::string_view bytes, DWORD moveFlags) {
    const std::wstring temporary = WithLongPrefix(TemporaryBeside(path));
    bool written = false;
    {
        const UniqueHandle file = OwnFile(CreateFileW(temporary.c_str(), GENERIC_WRITE, 0, nullptr,
                                                      CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
        written = file && WriteAll(file.get(), bytes) && FlushFileBuffers(file.get());
    }
    if (written && MoveFileExW(temporary.c_str(), WithLongPrefix(path).c_str(), moveFlags)) return true;
    DeleteFileW(temporary.c_str());
    return false;
}

}  // namespace

bool ReadTextFile(const std::wstring& path, std::wstring& text) {
    std::string bytes;
    if (!ReadBytes(path, bytes)) return false;
    text = Decode(bytes);
    text.erase(std::remove(text.begin(), text.end(), L'\r'), text.end());
    return true;
}

std::vector<std::wstring_view> SplitLines(std::wstring_view text) {
    std::vector<std::wstring_view> lines;
    while (!text.empty()) {
        const size_t end = text.find(L'\n');
        lines.push_back(text.substr(0, end));
        if (end == text.npos) break;
        text.remove_prefix(end + 1);
    }
    return lines;
}

bool WriteBytes(const std::wstring& path, std::string_view bytes) {
    const DWORD attributes = GetFileAttributesW(WithLongPrefix(path).c_str());
    if (attributes != INVALID_FILE_ATTRIBUTES &&
        (attributes & (FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_DIRECTORY))) {
        return false;
    }
    return WriteWhole(path, bytes, MOVEFILE_REPLACE_EXISTING);
}

bool CreateTextFile(const std::wstring& path, std::wstring_view text) {
    return !PathExists(path) && WriteWhole(path, std::string(kUtf16Mark) + Encode(text), 0);
}

bool WriteTextFile(const std::wstring& path, std::wstring_view text) {
    return WriteBytes(path, std::string(kUtf16Mark) + Encode(text));
}

bool AppendTextFile(const std::wstring& path, std::wstring_view text) {
    const UniqueHandle file = OwnFile(CreateFileW(WithLongPrefix(path).c_str(), FILE_APPEND_DATA,
                                                  FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_ALWAYS,
                                                  FILE_ATTRIBUTE_NORMAL, nullptr));
    return file && WriteAll(file.get(), Encode(text));
}

}  // namespace morvex
