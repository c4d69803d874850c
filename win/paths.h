#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

// Path texts as the program keeps them: full, backslash-separated, UTF-16. Nothing here is limited to 260
// characters.
namespace morvex {

// folder + "\" + name; a folder that already ends in a backslash ("C:\") gets no second one.
std::wstring JoinPath(std::wstring_view folder, std::wstring_view name);

// The text after the last backslash; the whole text when there is none.
std::wstring_view FileNameOf(std::wstring_view path);

// The folder of a path: the text before the last backslash, which only a drive's root keeps ("C:\" of
// "C:\a": "C:" alone is the drive's current folder). Empty when there is none, as for a root itself.
std::wstring_view FolderOf(std::wstring_view path);

// A file name's position of the last "." or npos; a "." in a folder name does not count.
size_t ExtensionStart(std::wstring_view path);

// The text after the last "." of the file name, without the "."; empty when there is none.
std::wstring_view ExtensionOf(std::wstring_view path);

// The full path of one typed by hand, which may be relative or hold slashes. Nothing else of it is touched.
std::wstring FullPath(std::wstring path);

// Compares without regard to case, as the file system does.
bool SameText(std::wstring_view a, std::wstring_view b);

// The path with the long-path prefix "\\?\" when it is longer than 259 characters and has none ("\\?\UNC\"
// for a share).
std::wstring WithLongPrefix(std::wstring path);

bool PathExists(const std::wstring& path);    // a file or folder of that name
bool FolderExists(const std::wstring& path);  // a folder of that name

// Size in bytes from the file's attributes; nothing when they cannot be read.
std::optional<std::uint64_t> FileSizeOf(const std::wstring& path);

// Full path of the running program's own file.
std::wstring ModulePath();

}  // namespace morvex
