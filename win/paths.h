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

// The full path that somebody means who has typed it, with "." and ".." taken out: a path with the long-path
// prefix is opened as it stands, and they would be names in it. Only a root ends in a backslash. One that has
// the prefix already stays as it is.
std::wstring FullPath(const std::wstring& typed);

// Compares without regard to case, as the file system does.
bool SameText(std::wstring_view a, std::wstring_view b);

// The path with the long-path prefix "\\?\" ("\\?\UNC\" for a share) when it is longer than 259 characters,
// or leads through an existing name that ends in a dot or a blank, which the system would take off.
std::wstring WithLongPrefix(std::wstring path);

// Where this process writes what is to get this name once it is whole: in the same folder, under a short
// name, so that no limit is met that the path itself does not meet. The same for each call.
std::wstring TemporaryBeside(const std::wstring& path);

bool PathExists(const std::wstring& path);    // a file or folder of that name
bool FolderExists(const std::wstring& path);  // a folder of that name

// Size in bytes from the file's attributes; nothing when they cannot be read.
std::optional<std::uint64_t> FileSizeOf(const std::wstring& path);

// Full path of the running program's own file.
std::wstring ModulePath();

}  // namespace morvex
